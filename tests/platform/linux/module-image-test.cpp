#include <elf.h>
#include <gtest/gtest.h>
#include <link.h>
#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <utility>

#include "platform/linux/child-process.h"
#include "platform/module-fixture.h"

namespace larder::platform {
namespace {

class ModuleImageTest : public ModuleTest {
 protected:
  ModuleImageTest() { std::memcpy(&good, whole.data(), sizeof(good)); }

  Code OpenWith(const ElfW(Ehdr) & header) {
    CloseModule(std::exchange(module, nullptr));  // a change of its file would show in it
    std::memcpy(whole.data(), &header, sizeof(header));
    Write("module.dll", whole);
    return Open(Native("module.dll"));
  }

  std::string whole = PlainModule();
  ElfW(Ehdr) good{};
};

TEST_F(ModuleImageTest, AnImageThatIsNotForThisMachineIsBad) {
  EXPECT_EQ(OpenWith(good), kSuccess);
  auto header = good;
  header.e_ident[EI_CLASS] = ELFCLASS32;
  header.e_machine = EM_386;
  EXPECT_EQ(OpenWith(header), kBadExeFormat);
  header = good;
  header.e_machine = EM_S390;
  EXPECT_EQ(OpenWith(header), kBadExeFormat);
  header = good;
  header.e_type = ET_EXEC;
  EXPECT_EQ(OpenWith(header), kBadExeFormat);
}

TEST_F(ModuleImageTest, SegmentsOutsideOfTheFileAreBad) {
  auto header = good;
  for (const std::uint64_t offset :
       {~std::uint64_t{0} - 8, whole.size() - sizeof(ElfW(Phdr)) + 1}) {
    header.e_phoff = offset;
    EXPECT_EQ(OpenWith(header), kBadExeFormat) << offset;
  }
  header = good;
  header.e_phnum = 0;
  EXPECT_EQ(OpenWith(header), kBadExeFormat);
}

TEST_F(ModuleImageTest, EveryCutOfTheFileGivesACode) {
  bool wasRefused = true;
  for (std::size_t size = 0; size < whole.size(); size += 509) {
    // Never a file that is loaded already: the loader maps it, and a change would show.
    const std::string cut = std::to_string(size) + ".dll";
    Write(cut, whole.substr(0, size));
    const Code code = Open(Native(cut));
    EXPECT_TRUE(code == kBadExeFormat || code == kSuccess) << size << ": " << code;
    // What the loader needs lies in front, so one that is long enough is followed by others.
    EXPECT_TRUE(wasRefused || code == kSuccess) << size;
    wasRefused = code != kSuccess;
  }
}

TEST_F(ModuleImageTest, TheExportsOfADependencyArentTheModules) {
  const std::string dependency = "libplatform-dependency.so";
  std::filesystem::copy_file(FixtureFolder() / "dependent-module.dll", Native("module.dll"));
  std::filesystem::copy_file(FixtureFolder() / "absent" / dependency, Native(dependency));
  ASSERT_EQ(Open(Native("module.dll")), kSuccess);
  EXPECT_EQ(Answer(module), 42);
  EXPECT_EQ(FindSymbol(module, "LarderTestQuestion"), nullptr);
}

TEST_F(ModuleImageTest, WhatMayNotBeReadOrIsNoFileGivesACode) {
  EXPECT_EQ(Open(machine.Folder()), kAccessDenied);
  ASSERT_EQ(mkfifo(Native("fifo.dll").c_str(), 0600), 0);
  EXPECT_EQ(Open(Native("fifo.dll")), kBadExeFormat);
  Write("module.dll", whole);
  std::filesystem::permissions(Native("module.dll"), std::filesystem::perms::none);
  EXPECT_EQ(RunAsNobody([this] { return static_cast<int>(Open(Native("module.dll"))); }),
            static_cast<int>(kAccessDenied));
}

TEST_F(ModuleImageTest, ABareNameIsLookedForByTheSystemAndGivesTheSameCodesAsAPath) {
  EXPECT_EQ(Open(FixtureFolder() / "wanting-module.dll"), kProcedureNotFound);
  EXPECT_EQ(Open("plain-module.dll"), kSuccess);
  EXPECT_EQ(Open("text-module.dll"), kBadExeFormat);
  EXPECT_EQ(Open("wanting-module.dll"), kProcedureNotFound);
  EXPECT_EQ(Open("dependent-module.dll"), kModuleNotFound);
  EXPECT_EQ(module, nullptr);
}

}  // namespace
}  // namespace larder::platform
