#include "feed-file/query-module.h"

#include <stdexcept>
#include <string>

#include "common/registry-value.h"
#include "platform/message.h"
#include "product/product.h"

namespace larder::feed {
namespace {

[[noreturn]] void Fail(const WideString& path, const std::string& reason) {
  throw std::runtime_error("Can't use the query module " + Quoted(path) + ": " + reason);
}

}  // namespace

WideString QueryModulePath() {
  const WideString location = ReadRegistryText(kInstallKey, kLocationValue);
  const WideString file = ReadRegistryText(kFeedFileKey, kQueryModuleValue);
  return location + (file.empty() ? kStockQueryModule : file);
}

QueryModule::File::File(const WideString& path) {
  const platform::Code code = platform::OpenModule(path, module.Out());
  if (code != platform::kSuccess) Fail(path, platform::SystemReason(code));
}

std::unique_ptr<IFileQuery> QueryModule::File::MakeQuery(const WideString& path) const {
  const platform::Symbol symbol = platform::FindSymbol(module.Get(), kFileQueryExport);
  if (symbol == nullptr) Fail(path, std::string("it doesn't export ") + kFileQueryExport);
  IFileQuery* made = nullptr;
  // Unwinding unloads the module, and with it the code of the module's exception types, so only
  // exceptions of this module may leave.
  try {
    reinterpret_cast<GetFileQueryFunction>(symbol)(&made);
  } catch (const std::exception& error) {
    Fail(path, error.what());
  } catch (...) {
    Fail(path, std::string(kFileQueryExport) + " threw something that isn't a std::exception");
  }
  if (made == nullptr) Fail(path, std::string(kFileQueryExport) + " created no object");
  return std::unique_ptr<IFileQuery>(made);
}

QueryModule::QueryModule(const WideString& path) : file(path), query(file.MakeQuery(path)) {}

}  // namespace larder::feed
