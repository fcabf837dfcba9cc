#include <gtest/gtest.h>

#include "console/TreeModel.h"

namespace {

using namespace kr;

/// Writes down what the model tells.
class Listening : public TreeModel::Listener {
public:
    std::vector<std::string> heard;
    void OnReset() override { heard.push_back("reset"); }
    void BeforeInsert(TreeNode& parent, size_t row) override {
        heard.push_back("insert " + parent.key + " " + std::to_string(row));
    }
    void AfterInsert() override { heard.push_back("inserted"); }
    void BeforeRemove(TreeNode& parent, size_t row) override {
        heard.push_back("remove " + parent.key + " " + std::to_string(row));
    }
    void AfterRemove() override { heard.push_back("removed"); }
    void OnChanged(TreeNode& node) override { heard.push_back("changed " + node.key); }
};

class TreeModelTest : public ::testing::Test {
protected:
    TreeModelTest() {
        tree.Add("", "agent", "agent", "Agent", "imgAgent");
        tree.Add("agent", "a", "acf", "A", "imgContact");
        tree.Add("agent", "b", "acf", "B", "imgContact");
        tree.Add("agent", "c", "acf", "C", "imgContact");
        tree.Add("b", "b1", "x", "B1", "");
        tree.SetListener(&listener);
    }
    std::string order() {
        std::string keys;
        for (const auto& child : tree.Find("agent")->children)
            keys += child->key;
        return keys;
    }
    TreeModel tree;
    Listening listener;
};

TEST_F(TreeModelTest, AddsAsLastChildUnderUniqueKeys) {
    EXPECT_EQ(order(), "abc");
    EXPECT_EQ(tree.Add("agent", "a", "x", "again", ""), nullptr);
    EXPECT_EQ(tree.Add("nowhere", "d", "x", "D", ""), nullptr);
    EXPECT_TRUE(listener.heard.empty());
    EXPECT_EQ(tree.Find("b1")->parent, tree.Find("b"));
    EXPECT_EQ(tree.Find("c")->row(), 2U);
}

TEST_F(TreeModelTest, NumericKeysAreMarked) {
    const TreeNode* node = tree.Add("agent", "1033", "language", "English", "imgLang");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->key, "!~1033");
    EXPECT_EQ(tree.Find("1033"), node);
    EXPECT_EQ(tree.Find("!~1033"), node);
    EXPECT_EQ(tree.Add("agent", "!~1033", "language", "again", ""), nullptr);
}

TEST_F(TreeModelTest, RemovingANodeForgetsWhatIsBelow) {
    tree.Remove(*tree.Find("b"));
    EXPECT_EQ(order(), "ac");
    EXPECT_EQ(tree.Find("b1"), nullptr);
    EXPECT_EQ(listener.heard, (std::vector<std::string>{"remove agent 1", "removed"}));
    EXPECT_NE(tree.Add("agent", "b1", "x", "", ""), nullptr);
}

TEST_F(TreeModelTest, MovesAmongSiblings) {
    tree.Move(*tree.Find("c"), 0);
    EXPECT_EQ(order(), "cab");
    tree.Move(*tree.Find("c"), 99);
    EXPECT_EQ(order(), "abc");
    EXPECT_EQ(tree.Find("b1")->parent, tree.Find("b"));
}

TEST_F(TreeModelTest, AKeyIsChangedUnlessItIsTaken) {
    TreeNode* b = tree.Find("b");
    EXPECT_FALSE(tree.SetKey(*b, "a"));
    EXPECT_EQ(b->key, "b");
    EXPECT_TRUE(tree.SetKey(*b, "b")); // its own
    EXPECT_TRUE(tree.SetKey(*b, "1031"));
    EXPECT_EQ(tree.Find("b"), nullptr);
    EXPECT_EQ(tree.Find("1031"), b);
    EXPECT_EQ(b->key, "!~1031");
    EXPECT_EQ(tree.Find("b1")->parent, b);
    EXPECT_EQ(listener.heard, std::vector<std::string>{"changed !~1031"});
}

TEST_F(TreeModelTest, ChangesAndClearingAreTold) {
    tree.SetText(*tree.Find("a"), "R & D");
    tree.SetGhosted(*tree.Find("a"), true);
    tree.RemoveChildren(*tree.Find("b"));
    tree.Clear();
    EXPECT_EQ(tree.Find("agent"), nullptr);
    EXPECT_EQ(listener.heard, (std::vector<std::string>{"changed a", "changed a", "remove b 0",
                                                        "removed", "reset"}));
}

TEST(TreeNodeTest, Dummies) {
    TreeNode node;
    node.tag = "dummypdl";
    EXPECT_TRUE(node.isDummy());
    node.tag = "pdlt";
    EXPECT_FALSE(node.isDummy());
}

} // namespace
