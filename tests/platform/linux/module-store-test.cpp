#include <elf.h>
#include <link.h>
#include <sys/stat.h>

#include <cstring>

#include "platform/machine-fixture.h"

namespace larder::platform {
namespace {

using ModuleStoreTest = ModuleTest;

TEST_F(ModuleStoreTest, AnImageForAnotherMachineOrWithSegmentsOutsideOfTheFileIsBad) {
  ElfW(Ehdr) good;
  std::memcpy(&good, image.data(), sizeof(good));
  const auto openWith = [&](auto change) {
    auto header = good;
    change(header);
    std::string changed = image;
    std::memcpy(changed.data(), &header, sizeof(header));
    module = {};  // a change of its file would show in it
    Write("module.dll", changed);
    return Open(Native("module.dll"));
  };
  EXPECT_EQ(openWith([](auto&) {}), kSuccess);
  EXPECT_EQ(openWith([](auto& header) { header.e_ident[EI_CLASS] = ELFCLASS32; }), kBadExeFormat);
  EXPECT_EQ(openWith([](auto& header) { header.e_machine = EM_S390; }), kBadExeFormat);
  EXPECT_EQ(openWith([](auto& header) { header.e_type = ET_EXEC; }), kBadExeFormat);
  EXPECT_EQ(openWith([](auto& header) { header.e_phnum = 0; }), kBadExeFormat);
  for (const std::uint64_t offset : {~std::uint64_t{0} - 8, image.size() - sizeof(ElfW(Phdr)) + 1})
    EXPECT_EQ(openWith([&](auto& header) { header.e_phoff = offset; }), kBadExeFormat) << offset;
}

TEST_F(ModuleStoreTest, EveryCutOfTheFileIsACode) {
  bool wasRefused = true;
  for (std::size_t size = 0; size < image.size(); size += 509) {
    // Never a file that is loaded already: the loader maps it, and a change would show.
    const std::string cut = std::to_string(size) + ".dll";
    Write(cut, image.substr(0, size));
    const Code code = Open(Native(cut));
    EXPECT_TRUE(code == kBadExeFormat || code == kSuccess) << size << ": " << code;
    // The loader needs only the front of the file, so once a cut is accepted, all longer ones are.
    EXPECT_TRUE(wasRefused || code == kSuccess) << size;
    wasRefused = code != kSuccess;
  }
}

TEST_F(ModuleStoreTest, TheExportsOfADependencyAreNotTheModules) {
  const std::string dependency = "libplatform-dependency.so";
  std::filesystem::copy_file(FixtureFolder() / "dependent-module.dll", Native("module.dll"));
  std::filesystem::copy_file(FixtureFolder() / "absent" / dependency, Native(dependency));
  ASSERT_EQ(Open(Native("module.dll")), kSuccess);
  EXPECT_EQ(Answer(), 42);
  EXPECT_EQ(FindSymbol(module.Get(), "LarderTestQuestion"), nullptr);
}

TEST_F(ModuleStoreTest, ABareNameIsSearchedByTheSystemAndHasTheSameCodesAsAPath) {
  ASSERT_EQ(mkfifo(Native("fifo.dll").c_str(), 0600), 0);
  const std::pair<std::filesystem::path, Code> cases[] = {
      {machine.Folder(), kAccessDenied},
      {Native("fifo.dll"), kBadExeFormat},
      {FixtureFolder() / "wanting-module.dll", kProcedureNotFound},
      {"wanting-module.dll", kProcedureNotFound},
      {"plain-module.dll", kSuccess},
      {"text-module.dll", kBadExeFormat},
      {"dependent-module.dll", kModuleNotFound}};
  for (const auto& [path, code] : cases) EXPECT_EQ(Open(path), code) << path;
}

}  // namespace
}  // namespace larder::platform
