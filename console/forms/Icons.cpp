#include "console/forms/Icons.h"

#include <QFile>
#include <QHash>
#include <QIconEngine>
#include <QPainter>

#include "console/OwnImage.h"
#include "console/forms/PngImage.h"

/// The macro declares a function of the global namespace, so it can't stand within another.
static void initIconResources() { Q_INIT_RESOURCE(kradmin); }

namespace kr {

namespace {

constexpr QLatin1String kGhost("Ghost");
constexpr int kOwnSide = 64; // pixels of a record's own picture, enough for rows at every scale

/// Draws another icon with a part of its strength, sharp at every scale.
class DimmedEngine : public QIconEngine {
public:
    explicit DimmedEngine(QIcon icon) : m_icon(std::move(icon)) {}
    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode,
               QIcon::State state) override {
        const qreal opacity = painter->opacity();
        painter->setOpacity(opacity * 0.45);
        m_icon.paint(painter, rect, Qt::AlignCenter, mode, state);
        painter->setOpacity(opacity);
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }
    QIconEngine* clone() const override { return new DimmedEngine(m_icon); }

private:
    QIcon m_icon;
};

QString fileOf(const QString& name) {
    static const bool ready = (initIconResources(), true);
    Q_UNUSED(ready);
    return ":/icons/" + name + ".svg";
}

QIcon iconOf(const QString& name, bool dimmed) {
    QIcon icon(fileOf(QFile::exists(fileOf(name)) ? name : QStringLiteral("imgFolder")));
    return dimmed ? QIcon(new DimmedEngine(std::move(icon))) : icon;
}

/// The picture that a record brings itself; the named one where it is none.
QIcon ownIcon(const OwnImage& own, bool dimmed) {
    QString reason;
    QImage image = ReadPng(own.png, reason);
    if (image.isNull())
        return IconOf(own.otherwise, dimmed);
    if (image.width() > kOwnSide || image.height() > kOwnSide)
        image = image.scaled(kOwnSide, kOwnSide, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QIcon icon(QPixmap::fromImage(image));
    return dimmed ? QIcon(new DimmedEngine(std::move(icon))) : icon;
}

} // namespace

bool HasIcon(std::string_view name) {
    return QFile::exists(
        fileOf(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()))));
}

const QIcon& IconOf(std::string_view name, bool dimmed) {
    static QHash<QByteArray, QIcon> icons[2];
    const QByteArray key(name.data(), static_cast<qsizetype>(name.size()));
    auto found = icons[dimmed].constFind(key);
    if (found != icons[dimmed].constEnd())
        return *found;
    if (const auto own = OwnImageOf(name)) {
        const QIcon icon = ownIcon(*own, dimmed);
        return *icons[dimmed].insert(key, icon);
    }
    const QString file = QString::fromUtf8(key);
    if (!file.endsWith(kGhost))
        return *icons[dimmed].insert(key, iconOf(file, dimmed));
    // something inactive: a grey picture of its own, else that of the active one, dimmed
    const QString active = file.chopped(kGhost.size());
    return *icons[dimmed].insert(key, HasIcon(name) ? iconOf(file, false) : iconOf(active, true));
}

} // namespace kr
