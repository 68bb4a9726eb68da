// How the file provider finds, loads and lets go its query module.
#include <gtest/gtest.h>

#include <fstream>

#include "common/object-identity.h"
#include "providers/provider-machine.h"
#include "providers/provider-module.h"
#include "testing/environment.h"
#include "testing/modules.h"

namespace larder {
namespace {

const LarderWideChar* const kStock = LARDER_WIDE("stock-file-query.dll");

class QueryModuleTest : public testing::Test {
 protected:
  QueryModuleTest() {
    SetEnvironmentText("LARDER_FIXTURE_LOG", (machine.Folder() / "events").string());
  }
  ~QueryModuleTest() override { SetEnvironmentText("LARDER_FIXTURE_LOG", ""); }

  void Name(const WideString& text) const {
    machine.SetText(LARDER_WIDE("DataProviders\\FeedFile"), LARDER_WIDE("szFileQuery"), text);
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
    const ModuleFile file(providerPath);
    IDataProvider* provider = nullptr;
    std::string text = TextThrownBy([&] { file.GetProvider()(&provider); });
    EXPECT_EQ(provider, nullptr);
    return text;
  }

  // How the texts about a module begin.
  std::string CannotUse(const WideString& name) const {
    return "Can't use the query module " + feed::Quoted(machine.WideFolder() + name) + ": ";
  }

  ProviderMachine machine;
  const WideString providerPath = BesideProgram(LARDER_WIDE("feed-file.dll"));
};

TEST_F(QueryModuleTest, TheStockOneIsLoadedAsLongAsTheProviderLivesWhereNoneIsNamed) {
  for (int time = 0; time < 2; ++time) {
    {
      const ProviderModule provider(providerPath);
      EXPECT_TRUE(IsLoaded(kStock));
    }
    EXPECT_FALSE(IsLoaded(kStock));
    Name({});  // names none either
  }
}

TEST_F(QueryModuleTest, TheNamedOneIsUsedAndItsObjectGoesBeforeIt) {
  machine.AddModule(LARDER_WIDE("fixtures\\file-query-throws.dll"));
  Name(LARDER_WIDE("file-query-throws.dll"));
  {
    const ProviderModule provider(providerPath);
    EXPECT_FALSE(IsLoaded(kStock));
    EXPECT_EQ(TextThrownBy([&] { QueryOf(*provider, Descriptor(LARDER_WIDE("any"))); }),
              "Query of file-query-throws fails");
  }
  EXPECT_EQ(Events(),
            "file-query-throws loaded;file-query-throws created;file-query-throws destroyed;"
            "file-query-throws unloaded;");
}

TEST_F(QueryModuleTest, OneThatCannotBeUsedIsNamedWithTheReasonAndLetGo) {
  const std::pair<WideString, std::string> cases[] = {
      {LARDER_WIDE("feed-test.dll"), "it doesn't export GetFileQuery"},
      // The reason outlives the module that gives it.
      {LARDER_WIDE("fixtures\\get-file-query-throws.dll"), "get-file-query-throws fails"},
      {LARDER_WIDE("fixtures\\no-file-query.dll"), "GetFileQuery created no object"}};
  for (const auto& [module, reason] : cases) {
    machine.AddModule(module);
    const WideString name = module.substr(module.rfind(u'\\') + 1);
    Name(name);
    EXPECT_EQ(Failure(), CannotUse(name) + reason);
    EXPECT_FALSE(IsLoaded(name)) << reason;
  }
  EXPECT_EQ(Events(),
            "get-file-query-throws loaded;get-file-query-throws unloaded;"
            "no-file-query loaded;no-file-query unloaded;");
  const WideString missing = LARDER_WIDE("missing.dll");
  Name(missing);
  const std::string text = Failure();
  EXPECT_TRUE(text.starts_with(CannotUse(missing)) && text.ends_with(" (code 126)")) << text;
}

TEST_F(QueryModuleTest, AValueThatCannotBeUsedIsNamedWithItsKey) {
  const std::string value =
      "Can't read the registry value \"szFileQuery\" of the key "
      "\"Software\\Velmor\\Larder\\DataProviders\\FeedFile\": ";
  machine.SetNumber(LARDER_WIDE("DataProviders\\FeedFile"), LARDER_WIDE("szFileQuery"), 1);
  EXPECT_EQ(Failure(), value + "it isn't of type REG_SZ");
  Name(WideString(99, u'x'));
  EXPECT_EQ(Failure(), value + "it has more than 98 characters");
  Name(WideString(98, u'x'));
  EXPECT_TRUE(Failure().starts_with(CannotUse(WideString(98, u'x'))));
}

}  // namespace
}  // namespace larder
