#include <larder/feed-file.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/file.h"
#include "platform/message.h"
#include "platform/module.h"
#include "platform/scoped-handle.h"
#include "product/product.h"
#include "product/stored-records.h"
#include "support/registry.h"
#include "tools/larder/cli/client.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/cli/output.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/find/record-match.h"
#include "tools/larder/query/file-query.h"
#include "tools/larder/query/record-text.h"

namespace larder::tool {
namespace {

struct Arguments {
  std::optional<std::string> digest;
  std::optional<std::string> signer;
  bool json = false;
};

struct Search {
  RecordMatch match;
  bool isJson;
};

// An entry of the store that matches.
struct Match {
  std::string path;  // as the client gave it, in UTF-8
  platform::FileInfo info;
  std::string where;
};

Search CheckedSearch(const Arguments& arguments) {
  if (arguments.digest.has_value() == arguments.signer.has_value()) {
    throw UsageError("find", "give one of DIGEST and --signer");
  }
  return {arguments.digest ? DigestMatch(*arguments.digest) : SignerMatch(*arguments.signer),
          arguments.json};
}

// A handle of its own for the module, which the library has loaded.
platform::OwnedModule FileProviderModule() {
  const WideString path = GetRegistryString(kInstallKey, kLocationValue) +
                          GetRegistryString(kFeedFileKey, kModuleValue);
  platform::OwnedModule module(platform::FindLoadedModule(path));
  if (!module.IsEmpty()) return module;
  throw std::runtime_error("the key \"" + platform::Utf8FromWide(kFeedFileKey) +
                           "\" names no loaded module");
}

void VisitStore(const StoredRecordVisitor& visit) {
  const platform::OwnedModule module = FileProviderModule();
  const auto function = reinterpret_cast<VisitStoredRecordsFunction>(
      platform::FindSymbol(module.Get(), kStoredRecordsExport));
  if (function == nullptr) {
    throw std::runtime_error("the file provider isn't the one of this version");
  }
  function(visit);
}

// The matching entries, sorted. Returns false, after printing the reason, if they may not be all.
bool FindMatches(const Search& search, std::vector<Match>& matches) {
  bool isComplete = true;
  try {
    VisitStore([&](std::string_view path, const platform::FileInfo& info,
                   std::span<const unsigned char> record) {
      std::string where = search.match(record);
      if (!where.empty()) matches.push_back({std::string(path), info, std::move(where)});
      return true;
    });
  } catch (const std::exception& error) {
    PrintError(std::string("cannot read the store: ") + error.what());
    isComplete = false;
  }
  std::ranges::sort(matches, {}, &Match::path);
  return isComplete;
}

// Why a match isn't about the file as it is now; empty if it is. path: the match's.
std::string Difference(const Match& match, const WideString& path) {
  const std::string changed = "changed since its facts were stored";
  platform::FileInfo info;
  platform::FileKind kind{};
  const platform::Code code = platform::QueryPathInfo(path, info, kind);
  if (code == platform::kFileNotFound || code == platform::kPathNotFound) {
    return changed + ": it no longer exists";
  }
  if (code != platform::kSuccess) return platform::SystemReason(code);
  if (kind != platform::FileKind::kRegular) return changed + ": it isn't a regular file";
  return info == match.info ? "" : changed;
}

std::string JsonOf(LarderHandle handle, const Match& match, const WideString& path,
                   const std::string& difference) {
  FileAnswer answer;
  if (difference.empty()) {
    FileQuestion question;
    question.option = LARDER_FEED_FILE_STORED;
    answer = QueryPath(handle, question, path, PathText(path));
  } else {
    answer.path = PathText(path);
    answer.error = difference;
  }
  return JsonLine(answer, match.where);
}

// Returns whether the file is as it was.
bool ShowMatch(LarderHandle handle, const Search& search, const Match& match, Output& output) {
  WideString path;
  if (!platform::WideFromUtf8(match.path, path) ||
      path.find(LARDER_WIDE('\0')) != WideString::npos) {
    PrintError(match.path + ": not a path, but the store has an entry for it");
    return false;
  }
  const std::string difference = Difference(match, path);
  if (!difference.empty()) PrintError(PathText(path) + ": " + difference);
  if (search.isJson) {
    output.Write(JsonOf(handle, match, path, difference));
  } else if (difference.empty()) {
    output.Write(PathLine(match.where, PathText(path)));
  }
  return difference.empty();
}

bool FindFiles(LarderHandle handle, const Search& search, Output& output) {
  std::vector<Match> matches;
  const bool isComplete = FindMatches(search, matches);
  bool hasFound = false;
  for (const Match& match : matches) {
    if (output.Failed()) break;
    hasFound |= ShowMatch(handle, search, match, output);
  }
  if (isComplete && matches.empty()) PrintError("no file in the store has it");
  return isComplete && hasFound;
}

void IgnoreMessage(std::int32_t) {}

int RunFind(const Search& search, Output& output) {
  LarderHandle handle = nullptr;
  if (!StartLibrary(&IgnoreMessage, handle)) return kExitFailed;
  const bool succeeded = FindFiles(handle, search, output);
  return EndLibrary() && succeeded ? kExitOk : kExitFailed;
}

}  // namespace

void AddFindCommand(const Command& top) {
  const auto arguments = std::make_shared<Arguments>();
  const Command find = top.AddCommand("find", "Print the files with a digest or a signer");
  find.AddDetails(
      "Searches the file provider's store, so it finds files that some program has\n"
      "queried. A file that has changed since is reported on standard error instead.\n"
      "Exit status 0 means that at least one file was found.");
  find.AddOptional("DIGEST", arguments->digest, "MD5, SHA-1 or SHA-2 digest of a file or an image");
  find.AddOption("--signer", "TEXT", arguments->signer, "Text in the subject of a certificate");
  find.AddFlag("--json", arguments->json, "Print a line of JSON for each file");
  find.OnChosen([arguments] {
    return [search = CheckedSearch(*arguments)](Output& output) { return RunFind(search, output); };
  });
}

}  // namespace larder::tool
