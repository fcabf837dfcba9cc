#include <gtest/gtest.h>

#include "console/TreeModel.h"
#include "core/basDate.h"
#include "push/ChannelDetails.h"
#include "push/ResultDocument.h"
#include "tests/push/PushWorld.h"

namespace {

using namespace kr;

/// A tree as indented lines.
std::string drawn(const DetailNode& node, const std::string& indent = "") {
    std::string text = indent + node.text + (node.key.empty() ? "" : " [" + node.key + "]") +
                       (node.image.empty() ? "" : " <" + node.image + ">") + "\n";
    for (const DetailNode& child : node.children)
        text += drawn(child, indent + " ");
    return text;
}
std::string targets(std::string_view body) { return drawn(ReadChannelDetails(body)->targets); }
std::string content(std::string_view body) { return drawn(ReadChannelDetails(body)->content); }

TEST(ChannelDetailsTest, DeletionsStandWithThePushes) {
    PushWorld world;
    ResultDocument document = CreateResultDocument("{ID}", "http://host/");
    const Time date = *ParseDate("3/9/2026 4:05:06 PM");
    AppendTarget(*world.session, document, "PINA", "a@x.test", "Browser-Channel", date, "200:OK");
    AppendTarget(*world.session, document, "PINB", "", "Browser-Channel-Delete", date, "timed out");
    EXPECT_EQ(targets(document.xml().Save()), "Targets [targets]\n"
                                              " Push Browser Channel\n"
                                              "  PINA a@x.test\n"
                                              "   Last push: 3/9/2026 4:05:06 PM\n"
                                              "   Result: 200:OK\n"
                                              "  PINB\n"
                                              "   Last push: 3/9/2026 4:05:06 PM\n"
                                              "   Result: timed out\n");
}

TEST(ChannelDetailsTest, TheOldTypeHasABranchOfItsOwn) {
    EXPECT_EQ(targets("<channel><targets><target pin='P' email='e' type='Delete-Channel' date='d' "
                      "result='r'/></targets></channel>"),
              "Targets [targets]\n Delete Channel\n  P e\n   Last push: d\n   Result: r\n");
    // an element without a type belongs to neither
    EXPECT_EQ(targets("<channel><targets><target pin='P'/></targets></channel>"),
              "Targets [targets]\n");
}

TEST(ChannelDetailsTest, ContentWithItsImagesAndChildren) {
    EXPECT_EQ(content("<channel><content kb='3.5'>"
                      "<link url='http://h/?a=1&amp;amp;b=2' bytes='10'>"
                      "<image url='http://h/1.png' bytes='4'/>"
                      "<link url='http://h/c' bytes='5'><image url='i' bytes='1'/></link>"
                      "<image url='http://h/2.png' bytes='6'/></link>"
                      "<link url='http://h/d' bytes='0'/></content></channel>"),
              "Content (3.5 KB) [content] <imgGlobe>\n"
              " http://h/?a=1&amp;b=2 (10 bytes)\n"
              "  Images [img_2]\n"
              "   http://h/1.png (4 bytes)\n"
              "   http://h/2.png (6 bytes)\n"
              "  http://h/c (5 bytes)\n"
              "   Images [img_1]\n"
              "    i (1 bytes)\n"
              " http://h/d (0 bytes)\n");
}

TEST(ChannelDetailsTest, WithoutData) {
    const std::string empty = CreateResultDocument("", "").xml().Save();
    EXPECT_EQ(targets(empty), "No target data\n");
    EXPECT_EQ(content(empty), "No content data\n");
    EXPECT_EQ(content("<channel/>"), "No content data\n");
    EXPECT_FALSE(ReadChannelDetails(""));
    EXPECT_FALSE(ReadChannelDetails("no xml"));
}

} // namespace
