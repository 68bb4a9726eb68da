// The fixtures do what tests of a host rely on.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/utf.h"
#include "providers/provider-module.h"
#include "testing/environment.h"
#include "testing/test-machine.h"

namespace larder {
namespace {

using testing::ElementsAre;

class Fixtures : public testing::Test {
 protected:
  Fixtures() { SetEnvironmentText("LARDER_FIXTURE_LOG", log.string()); }
  ~Fixtures() override { SetEnvironmentText("LARDER_FIXTURE_LOG", ""); }

  std::vector<std::string> Lines() const {
    std::ifstream stream(log);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
  }

  static WideString Path(const std::string& name) {
    WideString path;
    EXPECT_TRUE(platform::WideFromUtf8("fixtures\\" + name + ".dll", path));
    return BesideProgram(path);
  }

  TestMachine machine;
  std::filesystem::path log = machine.Folder() / "events.txt";
  const Descriptor any{LARDER_WIDE("any")};
};

struct Reporting {
  const char* name;
  std::int32_t type;
};

class ReportingFixtures : public Fixtures, public testing::WithParamInterface<Reporting> {};

TEST_P(ReportingFixtures, AnswerWithTheirTypeAndWriteDownTheirLives) {
  const auto [name, type] = GetParam();
  {
    ProviderModule module(Path(name));
    EXPECT_EQ(module->GetType(), type);
    DbBuffer block = QueryOf(*module, any);
    EXPECT_EQ(HeaderOf(block).providerType, type);
    EXPECT_EQ(HeaderOf(block).dataSize, block.size);
    FreeQueryOf(*module, block);
    EXPECT_EQ(block.data, nullptr);
    EXPECT_NO_THROW(WriteTo(*module, any, BlockOf("kept by nobody")));
  }
  const std::string word = std::string(name) + ' ';
  EXPECT_THAT(Lines(), ElementsAre(word + "loaded", word + "created", word + "destroyed",
                                   word + "unloaded"));
}

INSTANTIATE_TEST_SUITE_P(All, ReportingFixtures,
                         testing::Values(Reporting{"type-0", 0}, Reporting{"type-1", 1},
                                         Reporting{"type-2", 2}, Reporting{"type-3", 3},
                                         Reporting{"type-4", 4}, Reporting{"type-5", 5},
                                         Reporting{"type-6", 6}, Reporting{"type-minus-1", -1},
                                         Reporting{"duplicate-type", 0}));

TEST_F(Fixtures, WithoutAnExportHasNoGetProvider) {
  {
    ModuleFile file(Path("no-export"));
    EXPECT_EQ(file.GetProvider(), nullptr);
  }
  EXPECT_THAT(Lines(), ElementsAre("no-export loaded", "no-export unloaded"));
}

TEST_F(Fixtures, GetProviderThatThrowsMakesNoObject) {
  {
    ModuleFile file(Path("get-provider-throws"));
    IDataProvider* provider = nullptr;
    EXPECT_EQ(TextThrownBy([&] { file.GetProvider()(&provider); }),
              "GetProvider of get-provider-throws fails");
    EXPECT_EQ(provider, nullptr);
  }
  EXPECT_THAT(Lines(), ElementsAre("get-provider-throws loaded", "get-provider-throws unloaded"));
}

TEST_F(Fixtures, GetTypeThatThrowsLeavesAnObjectThatNeedsNoDestruction) {
  {
    ModuleFile file(Path("get-type-throws"));
    IDataProvider* provider = nullptr;
    file.GetProvider()(&provider);
    EXPECT_EQ(TextThrownBy([&] { provider->GetType(); }), "GetType of get-type-throws fails");
  }
  EXPECT_THAT(Lines(), ElementsAre("get-type-throws loaded", "get-type-throws created",
                                   "get-type-throws unloaded"));
}

TEST_F(Fixtures, GetTypeThatThrowsShowsWhenItsObjectIsDestroyed) {
  ModuleFile file(Path("get-type-throws"));
  IDataProvider* provider = nullptr;
  file.GetProvider()(&provider);
  delete provider;
  EXPECT_THAT(Lines(), testing::Contains("get-type-throws destroyed"));
}

TEST_F(Fixtures, ThatThrowEverywhereTellTheOperation) {
  const ProviderModule module(Path("throws-everywhere"));
  EXPECT_EQ(module->GetType(), 4);
  std::uint64_t key = 0;
  DbBuffer block;
  EXPECT_EQ(TextThrownBy([&] { module->GetKey(any.Get(), &key); }),
            "GetKey of throws-everywhere fails");
  EXPECT_EQ(TextThrownBy([&] { module->Query(any.Get(), 0, &key, &block); }),
            "Query of throws-everywhere fails");
  EXPECT_EQ(TextThrownBy([&] { module->FreeQuery(&block); }),
            "FreeQuery of throws-everywhere fails");
  EXPECT_EQ(TextThrownBy([&] { module->Write(any.Get(), &key, &block); }),
            "Write of throws-everywhere fails");
}

TEST_F(Fixtures, ThatThrowTheUnknownThrowNoException) {
  const ProviderModule module(Path("throws-unknown"));
  EXPECT_EQ(module->GetType(), 5);
  std::uint64_t key = 0;
  DbBuffer block;
  EXPECT_THROW(module->GetKey(any.Get(), &key), int);
  EXPECT_THROW(module->Query(any.Get(), 0, &key, &block), int);
  EXPECT_THROW(module->FreeQuery(&block), int);
  EXPECT_THROW(module->Write(any.Get(), &key, &block), int);
}

TEST_F(Fixtures, TextFileIsNoModule) {
  platform::ModuleHandle handle = nullptr;
  EXPECT_EQ(platform::OpenModule(Path("text-file"), handle), platform::kBadExeFormat);
  EXPECT_EQ(handle, nullptr);
}

TEST_F(Fixtures, CopyUnderAnotherNameReportsItsBuildName) {
  const std::filesystem::path copy = machine.Folder() / "another-name.dll";
  std::filesystem::copy_file(NativePath(Path("type-3")), copy);
  { const ProviderModule module(machine.WideFolder() + LARDER_WIDE("another-name.dll")); }
  EXPECT_THAT(Lines(), ElementsAre("type-3 loaded", "type-3 created", "type-3 destroyed",
                                   "type-3 unloaded"));
}

}  // namespace
}  // namespace larder
