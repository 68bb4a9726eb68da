#include "common/result-error.h"

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

}  // namespace larder::feed
