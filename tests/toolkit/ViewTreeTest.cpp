#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <vlq/toolkit/Diagnostics.h>
#include <vlq/toolkit/UIView.h>

namespace vlq::toolkit {
namespace {

std::shared_ptr<UIView> makeView(std::int64_t tag = 0) {
  auto view = std::make_shared<UIView>();
  view->setTag(tag);
  return view;
}

TEST(ViewTreeTest, ARemovedViewLivesWhileHeldAndForgetsItsSuperview) {
  auto parent = makeView();
  auto child = makeView();
  parent->addSubview(child);
  EXPECT_EQ(child->superview(), parent);

  std::weak_ptr<UIView> watch = child;
  child->removeFromSuperview();
  EXPECT_EQ(child->superview(), nullptr);
  EXPECT_TRUE(parent->subviews().empty());
  child.reset();
  EXPECT_TRUE(watch.expired());

  // A superview that goes away leaves a held subview without superview.
  auto orphan = makeView();
  parent->addSubview(orphan);
  parent.reset();
  EXPECT_EQ(orphan->superview(), nullptr);
}

TEST(ViewTreeTest, AddingMovesAViewAndRefusesCycles) {
  auto first = makeView(1);
  auto second = makeView(2);
  auto child = makeView(3);
  first->addSubview(child);
  second->addSubview(child);
  EXPECT_TRUE(first->subviews().empty());
  ASSERT_EQ(second->subviews().size(), 1u);
  EXPECT_EQ(child->superview(), second);

  child->addSubview(second);  // second is an ancestor of child
  EXPECT_EQ(second->superview(), nullptr);
  child->addSubview(child);
  EXPECT_TRUE(child->subviews().empty());

  // Adding a subview again brings it to the front.
  auto other = makeView(4);
  second->addSubview(other);
  second->addSubview(child);
  EXPECT_EQ(second->subviews().back(), child);
  EXPECT_EQ(second->subviews().size(), 2u);
}

TEST(ViewTreeTest, ViewWithTagSearchesDepthFirstFromItself) {
  auto root = makeView(111);
  auto a = makeView(1);
  auto deep = makeView(7);
  auto b = makeView(7);
  root->addSubview(a);
  a->addSubview(deep);
  root->addSubview(b);
  EXPECT_EQ(root->viewWithTag(111), root);
  EXPECT_EQ(root->viewWithTag(7), deep);
  EXPECT_EQ(root->viewWithTag(99), nullptr);
}

TEST(ViewTreeTest, ConstraintsFollowTheTreeTheyTie) {
  std::vector<std::string> reports;
  const auto previous =
      setDiagnosticSink([&](std::string_view line) { reports.emplace_back(line); });

  auto root = makeView();
  auto card = makeView();
  auto label = makeView();
  root->addSubview(card);
  card->addSubview(label);
  auto toRoot = card->leadingAnchor().constraintEqualToAnchor(root->leadingAnchor(), 10);
  auto inside = label->topAnchor().constraintEqualToAnchor(card->topAnchor(), 5);
  toRoot->setActive(true);
  inside->setActive(true);
  EXPECT_EQ(root->constraints().size(), 1u);
  EXPECT_EQ(card->constraints().size(), 1u);

  // Moving the card elsewhere drops the constraint to its old tree and keeps its own.
  auto elsewhere = makeView();
  elsewhere->addSubview(card);
  EXPECT_FALSE(toRoot->isActive());
  EXPECT_TRUE(inside->isActive());
  EXPECT_TRUE(root->constraints().empty());

  // Views in different trees share no ancestor: the constraint stays inactive and a line says so.
  auto stranger = makeView();
  auto apart = stranger->widthAnchor().constraintEqualToAnchor(root->widthAnchor());
  apart->setActive(true);
  EXPECT_FALSE(apart->isActive());
  EXPECT_EQ(reports.size(), 1u);
  setDiagnosticSink(previous);
}

}  // namespace
}  // namespace vlq::toolkit
