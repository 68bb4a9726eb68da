#include "testing/test-machine.h"

#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "platform/wide.h"

namespace larder {
namespace {

// Not /tmp, which may be a tmpfs: records of its files aren't stored.
std::filesystem::path TemporaryFolder() {
  const bool isChosen = getenv("TMPDIR") != nullptr;
  return isChosen ? std::filesystem::temp_directory_path() : "/var/tmp";
}

std::filesystem::path MakeBase() {
  std::string pattern = (TemporaryFolder() / "larder-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr)
    throw std::system_error(errno, std::generic_category(), "mkdtemp " + pattern);
  // Children may run as another user.
  std::filesystem::permissions(pattern, std::filesystem::perms(0755));
  return std::filesystem::canonical(pattern);
}

}  // namespace

TestMachine::TestMachine() : base(MakeBase()), folder(base / "folder") {
  umask(022);  // folders that others may write aren't used
  std::filesystem::create_directory(folder);
  std::filesystem::create_directory(base / "root");
  setenv("LARDER_ROOT", (base / "root").c_str(), 1);
}

void TestMachine::UseOwnCommonFolders() {}

void OpenToEverybody(const std::filesystem::path& path) {
  std::filesystem::permissions(path, std::filesystem::perms(0777));
}

TestMachine::~TestMachine() {
  unsetenv("LARDER_ROOT");
  std::error_code ignored;
  std::filesystem::remove_all(base, ignored);
}

WideString TestMachine::WideFolder() const {
  WideString wide;
  if (!platform::WideFromUtf8(folder.string() + '/', wide))
    throw std::runtime_error("not UTF-8: " + folder.string());
  std::replace(wide.begin(), wide.end(), u'/', u'\\');
  return wide;
}

}  // namespace larder
