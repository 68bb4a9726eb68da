// How the file provider finds, loads and lets go its query module.
#include <gtest/gtest.h>

#include <fstream>
#include <optional>

#include "common/object-identity.h"
#include "providers/provider-machine.h"
#include "providers/provider-module.h"
#include "testing/environment.h"
#include "testing/modules.h"

namespace larder {
namespace {

using feed::Quoted;

const LarderWideChar* const kKey = LARDER_WIDE("DataProviders\\FeedFile");
const LarderWideChar* const kValue = LARDER_WIDE("szFileQuery");

class QueryModuleTest : public testing::Test {
 protected:
  QueryModuleTest() {
    SetEnvironmentText("LARDER_FIXTURE_LOG", (machine.Folder() / "events").string());
  }
  ~QueryModuleTest() override { SetEnvironmentText("LARDER_FIXTURE_LOG", ""); }

  // Lets the registry name one of the fixtures.
  void NameFixture(const WideString& name) {
    machine.AddModule(LARDER_WIDE("fixtures\\") + name);
    machine.SetText(kKey, kValue, name);
  }

  bool IsLoaded(const WideString& name) const {
    return IsModuleLoaded(NativePath(machine.WideFolder() + name));
  }

  std::string Events() const {
    std::ifstream file(machine.Folder() / "events");
    std::string events;
    for (std::string line; std::getline(file, line);) events += line + ';';
    return events;
  }

  // The text with which the provider's object isn't made.
  std::string Failure() const {
    const ModuleFile file(BesideProgram(LARDER_WIDE("feed-file.dll")));
    IDataProvider* provider = nullptr;
    std::string text = TextThrownBy([&] { file.GetProvider()(&provider); });
    EXPECT_EQ(provider, nullptr);
    return text;
  }

  // How the texts about a module begin.
  std::string CannotUse(const WideString& name) const {
    return "Can't use the query module " + Quoted(machine.WideFolder() + name) + ": ";
  }

  ProviderMachine machine;
};

TEST_F(QueryModuleTest, TheStockOneIsLoadedAsLongAsTheProviderLivesWhereNoneIsNamed) {
  {
    const ProviderModule provider(BesideProgram(LARDER_WIDE("feed-file.dll")));
    EXPECT_TRUE(IsLoaded(LARDER_WIDE("stock-file-query.dll")));
  }
  EXPECT_FALSE(IsLoaded(LARDER_WIDE("stock-file-query.dll")));
}

TEST_F(QueryModuleTest, TheNamedOneIsUsedAndItsObjectGoesBeforeIt) {
  NameFixture(LARDER_WIDE("file-query-throws.dll"));
  {
    const ProviderModule provider(BesideProgram(LARDER_WIDE("feed-file.dll")));
    EXPECT_FALSE(IsLoaded(LARDER_WIDE("stock-file-query.dll")));
    EXPECT_EQ(TextThrownBy([&] { QueryOf(*provider, Descriptor(LARDER_WIDE("any"))); }),
              "Query of file-query-throws fails");
  }
  EXPECT_EQ(Events(),
            "file-query-throws loaded;file-query-throws created;file-query-throws destroyed;"
            "file-query-throws unloaded;");
}

TEST_F(QueryModuleTest, OneThatIsMissingIsNamedWithTheSystemsReason) {
  machine.SetText(kKey, kValue, LARDER_WIDE("missing.dll"));
  const std::string text = Failure();
  EXPECT_TRUE(text.starts_with(CannotUse(LARDER_WIDE("missing.dll")))) << text;
  EXPECT_TRUE(text.ends_with(" (code 126)")) << text;
}

TEST_F(QueryModuleTest, OneThatIsNoQueryModuleIsRefusedAndLetGo) {
  machine.AddModule(LARDER_WIDE("feed-test.dll"));
  machine.SetText(kKey, kValue, LARDER_WIDE("feed-test.dll"));
  EXPECT_EQ(Failure(), CannotUse(LARDER_WIDE("feed-test.dll")) + "it doesn't export GetFileQuery");
  EXPECT_FALSE(IsLoaded(LARDER_WIDE("feed-test.dll")));
}

TEST_F(QueryModuleTest, TheReasonOfOneThatFailsOutlivesIt) {
  NameFixture(LARDER_WIDE("get-file-query-throws.dll"));
  EXPECT_EQ(Failure(),
            CannotUse(LARDER_WIDE("get-file-query-throws.dll")) + "get-file-query-throws fails");
  EXPECT_EQ(Events(), "get-file-query-throws loaded;get-file-query-throws unloaded;");
}

TEST_F(QueryModuleTest, OneThatMakesNoObjectIsRefusedAndLetGo) {
  NameFixture(LARDER_WIDE("no-file-query.dll"));
  EXPECT_EQ(Failure(),
            CannotUse(LARDER_WIDE("no-file-query.dll")) + "GetFileQuery makes no object");
  EXPECT_EQ(Events(), "no-file-query loaded;no-file-query unloaded;");
}

TEST_F(QueryModuleTest, AValueThatCannotBeUsedIsNamedWithItsKey) {
  const std::string value =
      "Can't read the registry value \"szFileQuery\" of the key "
      "\"Software\\Velmor\\Larder\\DataProviders\\FeedFile\": ";
  machine.SetNumber(kKey, kValue, 1);
  EXPECT_EQ(Failure(), value + "it isn't of type REG_SZ");
  machine.SetText(kKey, kValue, WideString(99, u'x'));
  EXPECT_EQ(Failure(), value + "it has more than 98 characters");
  machine.SetText(kKey, kValue, WideString(98, u'x'));
  EXPECT_TRUE(Failure().starts_with(CannotUse(WideString(98, u'x'))));
}

TEST_F(QueryModuleTest, AnEmptyValueNamesNone) {
  machine.SetText(kKey, kValue, {});
  const ProviderModule provider(BesideProgram(LARDER_WIDE("feed-file.dll")));
  EXPECT_TRUE(IsLoaded(LARDER_WIDE("stock-file-query.dll")));
}

}  // namespace
}  // namespace larder
