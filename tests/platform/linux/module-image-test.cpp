#include <elf.h>
#include <gtest/gtest.h>
#include <link.h>
#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "platform/linux/child-process.h"
#include "platform/module-files.h"
#include "platform/module.h"
#include "testing/test-machine.h"

namespace larder::platform {
namespace {

class ModuleImageTest : public ::testing::Test {
 protected:
  ModuleImageTest() { std::memcpy(&header, whole.data(), sizeof(header)); }
  ~ModuleImageTest() override { CloseModule(module); }

  Code Open(const std::filesystem::path& image) {
    CloseModule(module);
    return OpenModule(WidePathOf(image), module);
  }
  // The good module with the header as the test has changed it.
  Code OpenWithHeader() {
    std::memcpy(whole.data(), &header, sizeof(header));
    WriteFile(path, whole);
    return Open(path);
  }

  TestMachine machine;
  std::filesystem::path path = machine.Folder() / "module.dll";
  std::string whole = FileContent(FixtureFolder() / "plain-module.dll");
  ElfW(Ehdr) header{};
  ModuleHandle module = nullptr;
};

TEST_F(ModuleImageTest, AnUnchangedCopyIsLoaded) { EXPECT_EQ(OpenWithHeader(), kSuccess); }

TEST_F(ModuleImageTest, AnImageOf32BitsIsBad) {
  header.e_ident[EI_CLASS] = ELFCLASS32;
  header.e_machine = EM_386;
  EXPECT_EQ(OpenWithHeader(), kBadExeFormat);
}

TEST_F(ModuleImageTest, AnImageForAnotherMachineIsBad) {
  header.e_machine = EM_S390;
  EXPECT_EQ(OpenWithHeader(), kBadExeFormat);
}

TEST_F(ModuleImageTest, AProgramOfAFixedPlaceIsBad) {
  header.e_type = ET_EXEC;
  EXPECT_EQ(OpenWithHeader(), kBadExeFormat);
}

TEST_F(ModuleImageTest, SegmentsOutsideOfTheFileAreBad) {
  header.e_phoff = ~std::uint64_t{0} - 8;
  EXPECT_EQ(OpenWithHeader(), kBadExeFormat);
  header.e_phoff = whole.size() - sizeof(ElfW(Phdr)) + 1;
  EXPECT_EQ(OpenWithHeader(), kBadExeFormat);
  header.e_phnum = 0;
  EXPECT_EQ(OpenWithHeader(), kBadExeFormat);
}

TEST_F(ModuleImageTest, EveryCutOfTheFileGivesACode) {
  bool wasRefused = true;
  for (std::size_t size = 0; size < whole.size(); size += 509) {
    // Never a file that is loaded already: the loader maps it, and a change would show.
    const std::filesystem::path cut = machine.Folder() / (std::to_string(size) + ".dll");
    WriteFile(cut, whole.substr(0, size));
    const Code code = Open(cut);
    EXPECT_TRUE(code == kBadExeFormat || code == kSuccess) << size << ": " << code;
    // What the loader needs lies in front, so one that is long enough is followed by others.
    EXPECT_TRUE(wasRefused || code == kSuccess) << size;
    wasRefused = code != kSuccess;
  }
}

TEST_F(ModuleImageTest, AModuleWithAnUndefinedSymbolIsRefusedForTheProcedure) {
  EXPECT_EQ(Open(FixtureFolder() / "wanting-module.dll"), kProcedureNotFound);
  EXPECT_EQ(module, nullptr);
}

TEST_F(ModuleImageTest, TheExportsOfADependencyArentTheModules) {
  std::filesystem::copy_file(FixtureFolder() / "dependent-module.dll", path);
  const std::string dependency = "libplatform-dependency.so";
  std::filesystem::copy_file(FixtureFolder() / "absent" / dependency,
                             machine.Folder() / dependency);
  ASSERT_EQ(Open(path), kSuccess);
  const auto answer = reinterpret_cast<int (*)()>(FindSymbol(module, "LarderTestAnswer"));
  ASSERT_NE(answer, nullptr);
  EXPECT_EQ(answer(), 42);
  EXPECT_EQ(FindSymbol(module, "LarderTestQuestion"), nullptr);
}

TEST_F(ModuleImageTest, ADirectoryIsDeniedAndAFifoIsABadImage) {
  EXPECT_EQ(Open(machine.Folder()), kAccessDenied);
  const std::filesystem::path fifo = machine.Folder() / "fifo.dll";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(Open(fifo), kBadExeFormat);
  EXPECT_EQ(Open("/dev/zero"), kBadExeFormat);
}

TEST_F(ModuleImageTest, AModuleThatMayNotBeReadIsDenied) {
  WriteFile(path, whole);
  std::filesystem::permissions(path, std::filesystem::perms::none);
  EXPECT_EQ(RunAsNobody([this] { return static_cast<int>(Open(path)); }),
            static_cast<int>(kAccessDenied));
}

TEST_F(ModuleImageTest, ABareNameIsLookedForByTheSystemAndGivesTheSameCodes) {
  EXPECT_EQ(OpenModule(u"plain-module.dll", module), kSuccess);
  CloseModule(module);
  EXPECT_EQ(OpenModule(u"text-module.dll", module), kBadExeFormat);
  EXPECT_EQ(OpenModule(u"wanting-module.dll", module), kProcedureNotFound);
  EXPECT_EQ(OpenModule(u"dependent-module.dll", module), kModuleNotFound);
  EXPECT_EQ(module, nullptr);
}

}  // namespace
}  // namespace larder::platform
