#include "console/forms/Icons.h"

#include <QFile>
#include <QHash>
#include <QIconEngine>
#include <QPainter>

/// The macro declares a function of the global namespace, so it can't stand within another.
static void initIconResources() { Q_INIT_RESOURCE(kradmin); }

namespace kr {

namespace {

constexpr std::string_view kGhost = "Ghost";

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

} // namespace

bool HasIcon(std::string_view name) {
    return QFile::exists(
        fileOf(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()))));
}

const QIcon& IconOf(std::string_view name, bool dimmed) {
    // the image of an inactive source: that of an active one, dimmed
    if (name.ends_with(kGhost) && !HasIcon(name))
        return IconOf(name.substr(0, name.size() - kGhost.size()), true);
    static QHash<QByteArray, QIcon> icons[2];
    const QByteArray key(name.data(), static_cast<qsizetype>(name.size()));
    auto found = icons[dimmed].constFind(key);
    if (found != icons[dimmed].constEnd())
        return *found;
    QIcon icon(fileOf(HasIcon(name) ? QString::fromUtf8(key) : QStringLiteral("imgFolder")));
    return *icons[dimmed].insert(key, dimmed ? QIcon(new DimmedEngine(icon)) : icon);
}

} // namespace kr
