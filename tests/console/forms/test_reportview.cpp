#include <gtest/gtest.h>

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "console/forms/ReportView.h"

namespace {

using namespace kr;

/// A page that tries everything: files, addresses, styles, scripts.
QString hostilePage(const QString& file) {
    return QString(R"html(<html><head>
<link rel="stylesheet" href="http://evil.example/style.css">
<style>@import url("http://evil.example/more.css"); body { background: url(file:%1); }</style>
<script>document.location = "http://evil.example/run";</script></head>
<body background="http://evil.example/back.png" onload="alert(1)">
<img src="file://%1"><img src="http://evil.example/a.png"><img src="qrc:/icons/imgUser.svg">
<p>Report of today</p><a href="javascript:alert(2)">link</a></body></html>)html")
        .arg(file);
}

class ReportViewTest : public ::testing::Test {
protected:
    void show(const QString& page) {
        view.setHtml(page);
        view.resize(400, 300);
        view.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
        view.grab();
    }
    ReportView view;
};

TEST_F(ReportViewTest, LoadsNothing) {
    QTemporaryDir folder;
    const QString secret = folder.filePath("secret.png");
    QImage image(20, 20, QImage::Format_RGB32);
    image.fill(Qt::magenta);
    ASSERT_TRUE(image.save(secret));
    show(hostilePage(secret));
    EXPECT_TRUE(view.refused().contains("file://" + secret));
    EXPECT_TRUE(view.refused().contains("http://evil.example/a.png"));
    for (const QString& name : view.refused())
        EXPECT_FALSE(name.contains("/run")) << name.toStdString();
    EXPECT_TRUE(view.loadResource(QTextDocument::ImageResource, QUrl("file://" + secret))
                    .toByteArray()
                    .isEmpty());
    const QImage shot = view.grab().toImage();
    for (int y = 0; y < shot.height(); ++y)
        for (int x = 0; x < shot.width(); ++x)
            ASSERT_NE(shot.pixelColor(x, y), QColor(Qt::magenta)) << "the file's picture shows";
    EXPECT_TRUE(view.toPlainText().contains("Report of today"));
    EXPECT_FALSE(view.toPlainText().contains("evil.example/run"));
}

TEST_F(ReportViewTest, LinksGoOutOnlyWhenHarmless) {
    QSignalSpy clicked(&view, &ReportView::linkClicked);
    for (const char* url : {"http://a.example/", "https://a.example/", "mailto:a@a.example",
                            "file:///etc/passwd", "javascript:alert(1)", "smb://host/share"})
        emit view.anchorClicked(QUrl(url));
    ASSERT_EQ(clicked.count(), 3);
    EXPECT_EQ(clicked[2][0].toString(), "mailto:a@a.example");
    show("<p>text stays</p>");
    emit view.anchorClicked(QUrl("https://a.example/"));
    EXPECT_EQ(view.toPlainText(), "text stays") << "the view itself goes nowhere";
}

} // namespace
