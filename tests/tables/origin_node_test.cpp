#include "tables/origin_node.h"

#include <gtest/gtest.h>

#include <string>

#include "framework/xaf/control.h"

namespace {

void name_the_node(const std::string& name) {
  xaf::Configuration configuration;
  configuration.node_name = name;
  xaf::configure(configuration);
}

TEST(OriginNode, ANameOfExactly64CharactersIsKeptWhole) {
  const std::string name(64, 'n');
  name_the_node(name);
  tables::OriginNode node;
  EXPECT_EQ(node.padded(), name);
}

TEST(OriginNode, AShorterNameIsPaddedWithBlanksTo64) {
  name_the_node("Primary:DC1:NT");
  tables::OriginNode node;
  EXPECT_EQ(node.padded(), "Primary:DC1:NT" + std::string(50, ' '));
}

TEST(OriginNode, ANameOf63CharactersEndsInOneBlank) {
  name_the_node(std::string(63, 'n'));
  tables::OriginNode node;
  EXPECT_EQ(node.padded(), std::string(63, 'n') + ' ');
}

TEST(OriginNode, IsAskedForOnceAndKeptByEachTable) {
  name_the_node("first");
  tables::OriginNode node;
  EXPECT_TRUE(node.padded().starts_with("first "));
  name_the_node("second");
  EXPECT_TRUE(node.padded().starts_with("first "));
  tables::OriginNode other;
  EXPECT_TRUE(other.padded().starts_with("second "));
}

}  // namespace
