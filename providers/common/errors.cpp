#include "common/errors.h"

#include <larder/larder.h>

#include <stdexcept>

#include "platform/message.h"

namespace larder::feed {
namespace {

class ResultCategory final : public std::error_category {
 public:
  const char* name() const noexcept override { return "larder"; }
  std::string message(int code) const override { return "result " + std::to_string(code); }
};

}  // namespace

std::system_error ResultError(std::int32_t code, const std::string& text) {
  static const ResultCategory category;
  return {std::error_code(code, category), text};
}

void FailRead(const ObjectIdentity& wanted, const std::string& reason) {
  throw std::runtime_error("Can't read " + Quoted(wanted.path) + ": " + reason);
}

bool Exists(const ObjectIdentity& wanted, platform::Code code) {
  if (code == platform::kFileNotFound || code == platform::kPathNotFound) return false;
  if (code != platform::kSuccess) FailRead(wanted, platform::SystemReason(code));
  return true;
}

void RequireRegular(const ObjectIdentity& wanted, platform::FileKind kind) {
  if (kind == platform::FileKind::kDirectory) FailRead(wanted, "it is a directory");
  if (kind != platform::FileKind::kRegular) FailRead(wanted, "it isn't a regular file");
}

void RequireLastModified(const ObjectIdentity& wanted, const platform::FileInfo& info) {
  if (wanted.lastModified == 0 || wanted.lastModified == info.lastModified) return;
  throw ResultError(LARDER_E_FILE_ID_MISMATCH, Quoted(wanted.path) + " was last modified at " +
                                                   std::to_string(info.lastModified) + ", not at " +
                                                   std::to_string(wanted.lastModified));
}

}  // namespace larder::feed
