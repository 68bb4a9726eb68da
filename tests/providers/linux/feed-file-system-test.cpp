#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "providers/file-provider-test.h"

namespace larder {
namespace {

class FeedFileOnLinux : public FileProviderTest {};

TEST_F(FeedFileOnLinux, RefusesWhatIsNoFileOfASize) {
  const WideString fifo = machine.WideFolder() + LARDER_WIDE("fifo");
  ASSERT_EQ(mkfifo(NativePath(fifo).c_str(), 0666), 0);
  for (const WideString& path : {fifo, WideString(LARDER_WIDE("\\dev\\zero"))}) {
    EXPECT_EQ(FailureOf(path), CannotRead(path) + "it isn't a regular file");
  }
  const WideString status = LARDER_WIDE("\\proc\\self\\status");
  const std::string text = FailureOf(status);
  EXPECT_TRUE(text.starts_with(CannotRead(status) +
                               "it changed while it was read, twice: 0 bytes before, 0 after, "))
      << text;
}

TEST_F(FeedFileOnLinux, NamesAFileThatMayNotBeRead) {
  const WideString path = MakeFile(LARDER_WIDE("gr\u00FCn"), "abc");
  ASSERT_EQ(chmod(NativePath(path).c_str(), 0), 0);
  const std::string expected = CannotRead(path) + "Access is denied. (code 5)";
  // Root may read anything: the child is nobody.
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(2);
    _exit(FailureOf(path) == expected ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0) << "1: another text, 2: the user couldn't be changed";
}

TEST_F(FeedFileOnLinux, LeavesNoDescriptorOpen) {
  const auto countOpen = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator());
  };
  const WideString file = MakeFile(LARDER_WIDE("file"), "abc");
  const auto before = countOpen();
  QueryOf(*provider, Descriptor(file));
  FailureOf(machine.WideFolder());
  FailureOf(LARDER_WIDE("\\proc\\self\\status"));
  TextThrownBy([&] { QueryOf(*provider, Descriptor(file, 1)); });
  EXPECT_EQ(countOpen(), before);
}

}  // namespace
}  // namespace larder
