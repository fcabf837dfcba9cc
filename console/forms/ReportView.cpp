#include "console/forms/ReportView.h"

namespace kr {

ReportView::ReportView(QWidget* parent) : QTextBrowser(parent) {
    setOpenLinks(false);
    setOpenExternalLinks(false);
    connect(this, &QTextBrowser::anchorClicked, this, [this](const QUrl& url) {
        static const QStringList schemes{"http", "https", "mailto"};
        if (schemes.contains(url.scheme().toLower()))
            emit linkClicked(url.toString());
    });
}

QVariant ReportView::loadResource(int, const QUrl& name) {
    m_refused << name.toString();
    return QByteArray();
}

} // namespace kr
