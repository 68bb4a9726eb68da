#include "tools/larder/trace/trace-session.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "tools/larder/cli/command.h"
#include "tools/larder/cli/interrupt.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/linux/lttng.h"
#include "tools/larder/linux/trace-folder.h"
#include "tools/larder/linux/trace-reader.h"
#include "tools/larder/query/record-text.h"
#include "tools/larder/status/trace-object.h"

namespace larder::tool {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kMaxLoadTime(10);
// Of root's session daemon. lttng prefers it to one of the user's own if it may write to it.
constexpr const char* kRootSocket = "/var/run/lttng/client-lttng-sessiond";

std::string SessionOption() { return "--session=" + TraceSessionName(); }

void RequireNoInterrupt() {
  if (Interrupt::HasCome()) throw std::runtime_error("interrupted; no session runs");
}

void MustRunLttng(const std::string& what, const std::vector<std::string>& arguments) {
  std::string reason;
  RequireNoInterrupt();
  if (RunLttng(arguments, reason)) return;
  throw std::runtime_error("cannot " + what + ": " + reason);
}

void RequireTraceObject() {
  const TraceObject object = FindTraceObject(kMaxLoadTime);
  if (!object.isThere) {
    throw std::runtime_error("a session would record nothing: there is no " +
                             PathText(object.path) + "; install the package larder-lttng");
  }
  if (object.fault.empty()) return;
  throw std::runtime_error("a session would record nothing: " + PathText(object.path) + ": " +
                           object.fault);
}

void RequireNoSession() {
  if (!HasTraceSession()) return;
  throw std::runtime_error("a session of this user runs already; \"larder trace stop\" ends it");
}

// It is gone if its daemon is.
void RequireSession() {
  if (HasTraceSession()) return;
  throw std::runtime_error(
      "no session of this user runs; \"larder trace show\" prints what the last one has recorded");
}

std::string WhosePrograms() {
  if (access(kRootSocket, W_OK) == 0) return "of all users";
  return "of this user; for those of others, be root";
}

// From "Warning: 43547 events were discarded", the answer to the end of a session.
std::uint64_t DiscardedAtEnd(const std::string& answer) {
  constexpr std::string_view kMark = "Warning: ";
  const std::size_t mark = answer.find(kMark);
  std::uint64_t count = 0;
  if (mark == std::string::npos) return count;
  std::from_chars(answer.data() + mark + kMark.size(), answer.data() + answer.size(), count);
  return count;
}

void SetUpSession(const fs::path& folder) {
  MustRunLttng("enable Larder's events",
               {"enable-event", "--userspace", SessionOption(), "larder:*"});
  MustRunLttng("add the context", {"add-context", "--userspace", SessionOption(), "--type=vpid",
                                   "--type=vtid", "--type=procname"});
  MustRunLttng("start the session", {"start", TraceSessionName()});
  RequireNoInterrupt();
  RememberTraceFolder(folder);
}

void StartSession(const fs::path& folder) {
  MustRunLttng("create a session", {"create", TraceSessionName(), "--output=" + folder.string()});
  try {
    SetUpSession(folder);
  } catch (const std::exception&) {
    std::string ignored;
    (void)RunLttng({"destroy", TraceSessionName()}, ignored);
    throw;
  }
}

}  // namespace

int StartTrace(const std::optional<std::string>& folder, Output& output) {
  RequireTraceObject();
  RequireNoSession();
  const Interrupt interrupt;
  const fs::path target = folder ? FullFolder(*folder) : NewTraceFolder();
  MakeTraceFolder(target);
  try {
    StartSession(target);
  } catch (const std::exception&) {
    RemoveEmptyFolders(target);
    throw;
  }
  output.Write(RecordLine("session", TraceSessionName()) + RecordLine("folder", target.string()) +
               RecordLine("programs", WhosePrograms()));
  return kExitOk;
}

int StopTrace(Output& output) {
  RequireSession();
  std::string answer;
  if (!RunLttng({"destroy", TraceSessionName()}, answer)) {
    throw std::runtime_error("cannot end the session: " + answer);
  }
  const fs::path folder = LastTraceFolder();
  if (folder.empty()) {
    throw std::runtime_error(
        "the session has ended, but this home folder has no link to its trace; was it started with "
        "another HOME?");
  }
  output.Write(RecordLine("folder", folder.string()));
  std::uint64_t lines = 0;
  const auto count = [&lines](const TraceLine&) { return ++lines, true; };
  const TraceLosses losses = ReadTrace(folder, count);
  output.Write(
      RecordLine("lines", std::to_string(lines)) +
      RecordLine("lost", std::to_string(std::max(DiscardedAtEnd(answer), losses.discarded))));
  if (losses.tooLong != 0) output.Write(RecordLine("too long", std::to_string(losses.tooLong)));
  return kExitOk;
}

}  // namespace larder::tool
