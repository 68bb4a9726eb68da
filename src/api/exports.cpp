// The exported functions but for LarderErrorToString, which is in result-text.cpp. Each opens its
// scope trace outside its one try block and lets no exception out. Only here does a failure become
// a result code. A thread may be cancelled inside a provider, but not inside LarderInit and
// LarderRelease.
#include <larder/larder.h>

#include <exception>
#include <system_error>

#include "api/int-larder-handle.h"
#include "log-file/log-files.h"
#include "log/log-statement.h"
#include "platform/cancellation.h"
#include "product/product.h"
#include "providers/db-buffer.h"

namespace {

using namespace larder;

constexpr char kLibraryVersion[] = "1.0.0.298";

LarderHandle PublicHandle(IntLarderHandle* handle) noexcept {
  return reinterpret_cast<LarderHandle>(handle);
}

bool IsCurrentHandle(LarderHandle handle) noexcept {
  return handle != nullptr && handle == PublicHandle(CurrentHandle.load(std::memory_order_acquire));
}

void LogMisuse(const char* text) { LogError(GetModuleName(), text); }

// Reads CurrentHandle at each call; it stays the same while the caller keeps its reference.
inline IDataProvider* ProviderOf(std::int32_t type) {
  return CurrentHandle.load(std::memory_order_acquire)->dataProviderManager.GetDataProvider(type);
}

// The logger is created first, so that it receives the lines about loading the providers. It stays
// in the listener list if the rest fails.
void BuildHandle(LarderNotifyCallback callback) {
  CurrentDiskLogger = CreateDiskLogger(kLogPrefix);
  CheckFork();
  CurrentHandle.store(new IntLarderHandle(callback), std::memory_order_release);
  LogTrace(GetModuleName(), " created new handle");
}

std::int32_t InitLocked(LarderNotifyCallback callback, LarderHandle* handle) {
  const HandleLocked locked;
  if (handle == nullptr) return LARDER_E_PARAMETER_2;
  *handle = nullptr;
  if (callback == nullptr) return LARDER_E_PARAMETER_1;
  std::int32_t result = LARDER_OK;
  if (IntLarderHandle* const existing = CurrentHandle.load(std::memory_order_relaxed)) {
    ++existing->refCount;
    result = LARDER_E_ALREADY_INITIALIZED;
  } else {
    BuildHandle(callback);
  }
  IntLarderHandle* const current = CurrentHandle.load(std::memory_order_relaxed);
  *handle = PublicHandle(current);
  LogTrace(GetModuleName(), " initialized Larder version ", kLibraryVersion, ", ref count ",
           current->refCount);
  return result;
}

std::int32_t ReleaseLocked() {
  const HandleLocked locked;
  IntLarderHandle* const current = CurrentHandle.load(std::memory_order_relaxed);
  if (current == nullptr) {
    LogMisuse(" tried to release handle too many times");
    return LARDER_E_INVALID_HANDLE;
  }
  --current->refCount;
  LogTrace(GetModuleName(), " released handle, ref count ", current->refCount);
  if (current->refCount != 0) return LARDER_OK;
  LogTrace("Last ref released, handle destroyed");
  delete current;
  CurrentHandle.store(nullptr, std::memory_order_release);
  DestroyDiskLogger(CurrentDiskLogger);
  return LARDER_OK;
}

std::int32_t Query(LarderHandle handle, const void* objectDescriptor, std::int32_t providerType,
                   std::uint32_t queryOption, DataBlockHeader** data, std::uint8_t version) {
  if (!IsCurrentHandle(handle)) {
    LogMisuse(" tried to query with an invalid handle");
    return LARDER_E_INVALID_HANDLE;
  }
  if (objectDescriptor == nullptr) {
    LogMisuse(" tried to query with a null object descriptor");
    return LARDER_E_PARAMETER_2;
  }
  if (data == nullptr) {
    LogMisuse(" tried to query with a null data pointer");
    return LARDER_E_PARAMETER_3;
  }
  if (version != LARDER_QUERY_VERSION) {
    // The caller's version is logged as a byte, the current one as a number.
    LogError(GetModuleName(), " tried to query with version ", version, " and current version is ",
             LARDER_QUERY_VERSION);
    return LARDER_E_WRONG_VERSION;
  }
  std::uint64_t key = 0;
  ProviderOf(providerType)->GetKey(objectDescriptor, &key);
  LogTrace("Reading data for key ", key);
  DbBuffer buffer;
  ProviderOf(providerType)->Query(objectDescriptor, queryOption, &key, &buffer);
  auto* const block = reinterpret_cast<DataBlockHeader*>(buffer.Release());
  *data = block;
  return block == nullptr ? LARDER_E_NO_DATA : LARDER_OK;
}

std::int32_t FreeQuery(LarderHandle handle, DataBlockHeader* data) {
  if (!IsCurrentHandle(handle)) {
    LogMisuse(" tried to query with an invalid handle");
    return LARDER_E_INVALID_HANDLE;
  }
  if (data == nullptr) {
    LogMisuse(" tried to query with a null data pointer");
    return LARDER_E_PARAMETER_2;
  }
  DbBuffer buffer;
  buffer.TakeOwnership(reinterpret_cast<unsigned char*>(data), 0);
  ProviderOf(data->providerType)->FreeQuery(&buffer);
  return LARDER_OK;
}

std::int32_t Write(LarderHandle handle, const void* objectDescriptor, std::int32_t providerType,
                   const DataBlockHeader* data) {
  if (!IsCurrentHandle(handle)) {
    LogMisuse(" tried to write with an invalid handle");
    return LARDER_E_INVALID_HANDLE;
  }
  if (objectDescriptor == nullptr) {
    LogMisuse(" tried to write with a null object descriptor");
    return LARDER_E_PARAMETER_2;
  }
  if (data == nullptr) {
    LogMisuse(" tried to write with a null data pointer");
    return LARDER_E_PARAMETER_3;
  }
  std::uint64_t key = 0;
  ProviderOf(providerType)->GetKey(objectDescriptor, &key);
  LogTrace("Writing data for key ", key);
  DbBuffer buffer;
  buffer.Copy(reinterpret_cast<const unsigned char*>(data), data->dataSize);
  ProviderOf(providerType)->Write(objectDescriptor, &key, &buffer);
  return LARDER_OK;
}

}  // namespace

std::int32_t LarderInit(LarderNotifyCallback callback, LarderHandle* handle) {
  const platform::CancellationBlock noCancellation;
  ScopeTrace scope("Entering LarderInit()", "Leaving LarderInit()");
  try {
    return InitLocked(callback, handle);
  } catch (const std::exception& error) {
    LogError("Fatal error in LarderInit ", error.what());
  } catch (...) {
    LogError("Fatal error in LarderInit.");
  }
  return LARDER_E_DB_OPEN_FAILED;
}

std::int32_t LarderRelease() {
  const platform::CancellationBlock noCancellation;
  ScopeTrace scope("Entering LarderRelease()", "Leaving LarderRelease()");
  try {
    return ReleaseLocked();
  } catch (const std::exception& error) {
    LogError("Error in LarderRelease ", error.what());
  } catch (...) {
    LogError("Error in LarderRelease.");
  }
  return LARDER_E_GENERIC;
}

std::int32_t LarderQuery(LarderHandle handle, const void* objectDescriptor,
                         std::int32_t providerType, std::uint32_t queryOption,
                         DataBlockHeader** data, std::uint8_t version) {
  ScopeTrace scope("Entering LarderQuery()", "Leaving LarderQuery()");
  try {
    return Query(handle, objectDescriptor, providerType, queryOption, data, version);
  } catch (const std::system_error& error) {
    LogError("Error in LarderQuery ", error.what());
    return error.code().value();
  } catch (const std::exception& error) {
    LogError("Error in LarderQuery ", error.what());
  } catch (const platform::ForcedUnwind&) {
    throw;
  } catch (...) {
    LogError("Error in LarderQuery.");
  }
  return LARDER_E_GENERIC;
}

std::int32_t LarderFreeQuery(LarderHandle handle, DataBlockHeader* data) {
  ScopeTrace scope("Entering LarderFreeQuery()", "Leaving LarderFreeQuery()");
  try {
    return FreeQuery(handle, data);
  } catch (const std::exception& error) {
    LogError("Error in LarderFreeQuery ", error.what());
  } catch (const platform::ForcedUnwind&) {
    throw;
  } catch (...) {
    LogError("Error in LarderFreeQuery.");
  }
  return LARDER_E_GENERIC;
}

std::int32_t LarderWrite(LarderHandle handle, const void* objectDescriptor,
                         std::int32_t providerType, const DataBlockHeader* data) {
  ScopeTrace scope("Entering LarderWrite()", "Leaving LarderWrite()");
  try {
    return Write(handle, objectDescriptor, providerType, data);
  } catch (const std::exception& error) {
    LogError("Error in LarderWrite ", error.what());
  } catch (const platform::ForcedUnwind&) {
    throw;
  } catch (...) {
    LogError("Error in LarderWrite.");
  }
  return LARDER_E_GENERIC;
}
