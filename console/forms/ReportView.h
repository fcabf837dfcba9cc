#pragma once

#include <QTextBrowser>

namespace kr {

/// Shows a report's HTML without loading anything: no file, no address, no script. Addresses that
/// the person clicks come out through `linkClicked`, and only those of http, https and mailto.
class ReportView : public QTextBrowser {
    Q_OBJECT
public:
    explicit ReportView(QWidget* parent = nullptr);
    QVariant loadResource(int type, const QUrl& name) override;
    /// Names that the page asked for and did not get.
    const QStringList& refused() const { return m_refused; }

signals:
    void linkClicked(const QString& url);

private:
    QStringList m_refused;
};

} // namespace kr
