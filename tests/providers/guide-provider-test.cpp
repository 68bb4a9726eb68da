// The provider of the guide, built from the document's text, does what the guide says.
#include <gtest/gtest.h>

#include "providers/provider-module.h"

namespace larder {
namespace {

TEST(GuideProvider, AnswersWithTheLengthOfThePath) {
  const ProviderModule module(BesideProgram(LARDER_WIDE("fixtures\\guide-provider.dll")));
  EXPECT_EQ(module->GetType(), 4);
  DbBuffer block = QueryOf(*module, Descriptor(LARDER_WIDE("C:\\seven.")));
  EXPECT_EQ(HeaderOf(block).providerType, 4);
  EXPECT_EQ(PayloadOf(block), std::string("\x09\0\0\0", 4));
  FreeQueryOf(*module, block);
  EXPECT_EQ(block.data, nullptr);
}

TEST(GuideProvider, HasNoDataForAnEmptyPath) {
  const ProviderModule module(BesideProgram(LARDER_WIDE("fixtures\\guide-provider.dll")));
  EXPECT_EQ(QueryOf(*module, Descriptor({})).data, nullptr);
}

TEST(GuideProvider, RefusesToStore) {
  const ProviderModule module(BesideProgram(LARDER_WIDE("fixtures\\guide-provider.dll")));
  const Descriptor any(LARDER_WIDE("any"));
  EXPECT_EQ(TextThrownBy([&] { WriteTo(*module, any, BlockOf("x")); }),
            "The length of a path can't be set");
}

}  // namespace
}  // namespace larder
