// A machine for each test, with files, modules, events and registry keys.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <functional>
#include <map>
#include <string_view>
#include <vector>

#include "platform/event.h"
#include "platform/file.h"
#include "platform/folder.h"
#include "platform/log-file.h"
#include "platform/scoped-handle.h"
#include "platform/wide.h"
#include "testing/files.h"
#include "testing/test-machine.h"

namespace larder::platform {

inline WideString Wide(std::string_view utf8) {
  WideString wide;
  EXPECT_TRUE(WideFromUtf8(utf8, wide)) << utf8;
  return wide;
}

inline WideString WidePathOf(const std::filesystem::path& path) {
  WideString wide = path.string<LarderWideChar>();
  std::replace(wide.begin(), wide.end(), LarderWideChar{'/'}, LarderWideChar{'\\'});
  return wide;
}

inline void WriteFile(const std::filesystem::path& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

// Names are UTF-8, below the machine's folder.
class MachineTest : public ::testing::Test {
 protected:
  WideString InFolder(const std::string& name) const { return machine.WideFolder() + Wide(name); }
  std::filesystem::path Native(const std::string& name) const {
    return machine.Folder() / std::filesystem::u8path(name);
  }
  void Write(const std::string& name, const std::string& content = "") const {
    WriteFile(Native(name), content);
  }
  std::string Content(const std::string& name) const { return ContentOf(Native(name)); }
  bool Exists(const std::string& name) const { return std::filesystem::exists(Native(name)); }

  TestMachine machine;
};

inline std::filesystem::path ThisProgram() {
  WideString image;
  EXPECT_EQ(HostImagePath(image), kSuccess);
  return PathOf(image);
}

// With the modules that were built for these tests (see fixtures/).
inline std::filesystem::path FixtureFolder() {
  return ThisProgram().parent_path() / "platform-fixtures";
}

class ModuleTest : public MachineTest {
 protected:
  Code Open(const std::filesystem::path& path) {
    return OpenModule(WidePathOf(path), (module = {}).Out());
  }
  // The result of the module's one export; -1 if there is none.
  int Answer() const {
    const auto answer = reinterpret_cast<int (*)()>(FindSymbol(module.Get(), "LarderTestAnswer"));
    return answer != nullptr ? answer() : -1;
  }

  const std::string image = ContentOf(FixtureFolder() / "plain-module.dll");
  OwnedModule module;
};

// The results of the operations are in the members; what they open is closed by the next one.
class FileTest : public MachineTest {
 protected:
  Code Open(const WideString& path) { return OpenFileToRead(path, (file = {}).Out(), kind); }
  Code OpenToWrite(const WideString& path, WriteMode mode = WriteMode::kWrite) {
    return OpenFileToWrite(path, mode, (file = {}).Out());
  }
  Code Draw(const WideString& path) {
    return MakeTemporaryFile(path, Wide("lr_"), LARDER_WIDE("log"), made);
  }
  Code Delete(const std::string& name) const {
    return DeleteTree(InFolder(name).append(2, LarderWideChar()).data());
  }
  FileInfo Info() const {
    FileInfo found;
    EXPECT_EQ(QueryFileInfo(file.Get(), found), kSuccess);
    return found;
  }
  void ExpectNotOpened(const WideString& path, FileKind expected) {
    for (const char* operation : {"OpenFileToRead", "QueryPathInfo"}) {
      kind = FileKind::kRegular;
      EXPECT_EQ(operations.at(operation)(path), kSuccess);
      EXPECT_EQ(kind, expected);
    }
    EXPECT_TRUE(file.IsEmpty());
  }

  OwnedHandle file;
  FileKind kind = FileKind::kOther;
  FileInfo info;
  std::uint32_t attributes = 0;
  WideString made;
  std::vector<WideString> names;
  OwnedModule module;

  // All operations on a path but DeleteTree.
  using Path = const WideString&;
  const std::map<std::string, std::function<Code(Path)>> operations = {
      {"FindNames", [this](Path path) { return FindNames(path, names); }},
      {"MakeFolder", MakeFolder},
      {"MakeTemporaryFile", [this](Path path) { return Draw(path); }},
      {"OpenFileToRead", [this](Path path) { return Open(path); }},
      {"OpenFileToAppend", [this](Path path) { return OpenFileToAppend(path, (file = {}).Out()); }},
      {"OpenFileToWrite", [this](Path path) { return OpenToWrite(path); }},
      {"OpenLockFile", [this](Path path) { return OpenLockFile(path, (file = {}).Out()); }},
      {"OpenModule", [this](Path path) { return OpenModule(path, (module = {}).Out()); }},
      {"PathAttributes", [this](Path path) { return PathAttributes(path, attributes); }},
      {"QueryPathInfo", [this](Path path) { return QueryPathInfo(path, info, kind); }},
      {"RemoveFile", RemoveFile},
      {"RemoveFolder", RemoveFolder},
      {"RenameFile", [this](Path path) { return RenameFile(path, InFolder("renamed")); }},
      {"RenameFileTo", [this](Path path) { return RenameFile(InFolder("to-rename"), path); }}};
};

// An event that is closed at the end of its scope.
class OwnedEvent {
 public:
  OwnedEvent() { EXPECT_EQ(MakeEvent(handle.Out()), kSuccess); }
  explicit OwnedEvent(const WideString& name) {
    EXPECT_EQ(MakeNamedEvent(name, handle.Out()), kSuccess);
  }
  operator Handle() const { return handle.Get(); }

 private:
  OwnedHandle handle;
};

inline Code TryToMakeEvent(const WideString& name) {
  OwnedHandle event;
  return MakeNamedEvent(name, event.Out());
}

// The index of the lowest raised event; the number of events if the wait fails.
inline std::size_t Wait(const std::vector<Handle>& events) {
  std::size_t index = 0;
  const Code code = WaitForAny(events.data(), events.size(), index);
  EXPECT_EQ(code, kSuccess);
  return code == kSuccess ? index : events.size();
}

inline bool IsRaised(Handle event) {
  const OwnedEvent raised;
  RaiseEvent(raised);
  return Wait({event, raised}) == 0;
}

// A key of the machine's registry whose contents are read and written as plain text.
class Key {
 public:
  Code Open(std::string_view path, std::uint32_t access = kKeyRead) {
    return OpenRegistryKey(Wide(path), access, (owned = {}).Out());
  }
  Code Make(std::string_view path, std::uint32_t access = kKeyRead | kKeySetValue) {
    return MakeRegistryKey(Wide(path), access, (owned = {}).Out());
  }
  Code Set(std::string_view name, std::string_view data, std::uint32_t type = kRegBinary) const {
    // wine takes a zero that happens to follow the data of a text for its terminator.
    const std::string padded = std::string(data) + "##";
    return SetRegistryValue(Raw(), Wide(name), type, padded.data(),
                            static_cast<std::uint32_t>(data.size()));
  }
  // The data of a value, or "code N".
  std::string Get(std::string_view name) const {
    std::array<char, 4096> data;
    std::uint32_t type = 0;
    std::uint32_t size = data.size();
    const Code code = QueryRegistryValue(Raw(), Wide(name), type, data.data(), size);
    return code == kSuccess ? std::string(data.data(), size) : "code " + std::to_string(code);
  }
  Code Remove(std::string_view name) const { return RemoveRegistryValue(Raw(), Wide(name)); }
  Code RemoveKey(std::string_view name) const { return RemoveRegistryKey(Raw(), Wide(name)); }
  std::vector<std::string> Subkeys() const { return Names(RegistrySubkeyName); }
  std::vector<std::string> Values() const { return Names(RegistryValueName); }

  RegistryKey Raw() const { return owned.Get(); }

 private:
  std::vector<std::string> Names(decltype(RegistrySubkeyName) list) const {
    std::vector<std::string> names;
    std::array<LarderWideChar, 300> name;
    for (std::uint32_t index = 0;; ++index) {
      std::uint32_t length = name.size();
      const Code code = list(Raw(), index, name.data(), length);
      if (code == kNoMoreItems) return names;
      if (code != kSuccess) return {"code " + std::to_string(code)};
      EXPECT_EQ(name[length], 0);
      names.push_back(Utf8FromWide({name.data(), length}));
    }
  }

  OwnedRegistryKey owned;
};

inline Code RemoveTree(std::string_view path) { return RemoveRegistryTree(Wide(path)); }

// A machine whose registry holds only the empty key "Key".
class RegistryTest : public FileTest {
 protected:
  RegistryTest() { EXPECT_EQ(key.Make("Key", kKeyAllAccess), kSuccess); }

  Key key;
};

}  // namespace larder::platform
