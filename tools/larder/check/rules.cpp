#include "tools/larder/check/rules.h"

namespace larder::tool {
namespace {

constexpr RuleEntry kRules[] = {
    {Rule::kSymbols, "symbols", "Every symbol that the module needs is defined"},
    {Rule::kLoading, "loading", "The module loads, each time"},
    {Rule::kExports, "exports", "The only export is GetProvider"},
    {Rule::kRuntime, "runtime", "The module uses the shared C++ runtime"},
    {Rule::kGetProvider, "GetProvider", "GetProvider stores an object and doesn't throw"},
    {Rule::kGetType, "GetType", "GetType returns a number from 0 to 5, always the same"},
    {Rule::kQuery, "Query", "GetKey and Query return or throw, whatever the object"},
    {Rule::kExceptions, "exceptions",
     "What is thrown is a std::exception, and no std::system_error of code 0"},
    {Rule::kDataSize, "dataSize", "dataSize is the size of the block, at least that of a header"},
    {Rule::kProviderType, "providerType", "A block's providerType is the provider's type"},
    {Rule::kMemory, "memory", "A block is allocated with new unsigned char[]"},
    {Rule::kFreeQuery, "FreeQuery", "FreeQuery frees the block and empties the buffer"},
    {Rule::kWrite, "Write", "Write returns or throws, also for an empty block"},
    {Rule::kConcurrency, "concurrency", "Queries may run on several threads at once"},
    {Rule::kLeaks, "leaks", "A query and its FreeQuery leave no memory and no handle behind"},
    {Rule::kDestructor, "destructor", "The destructor returns"},
    {Rule::kThreads, "threads", "No thread is left after the destructor"},
    {Rule::kUnloading, "unloading", "The module is gone after it has been unloaded"},
};

}  // namespace

std::span<const RuleEntry> AllRules() { return kRules; }

}  // namespace larder::tool
