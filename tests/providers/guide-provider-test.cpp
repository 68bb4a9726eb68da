// The provider of the guide, built from the document's text, does what the guide says.
#include <gtest/gtest.h>

#include "providers/provider-module.h"

namespace larder {
namespace {

TEST(GuideProvider, AnswersWithTheLengthOfThePathAndStoresNothing) {
  const ProviderModule module(BesideProgram(LARDER_WIDE("fixtures\\guide-provider.dll")));
  const Descriptor seven(LARDER_WIDE("C:\\seven."));
  const DbBuffer block = QueryOf(*module, seven);
  EXPECT_EQ(HeaderOf(block).providerType, 4);
  EXPECT_EQ(PayloadOf(block), std::string("\x09\0\0\0", 4));
  EXPECT_EQ(QueryOf(*module, Descriptor({})).data, nullptr);
  EXPECT_EQ(TextThrownBy([&] { WriteTo(*module, seven, BlockOf("x")); }),
            "The length of a path can't be set");
}

}  // namespace
}  // namespace larder
