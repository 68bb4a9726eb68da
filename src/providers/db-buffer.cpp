// The host's DbBuffer: the operations of larder/provider.h, each logged.
#include <larder/provider.h>

#include "log/log-statement.h"

using larder::ScopeTrace;

DbBuffer::DbBuffer() noexcept {
  ScopeTrace scope("Entering DbBuffer::DbBuffer()", "Leaving DbBuffer::DbBuffer()");
}

DbBuffer::DbBuffer(std::uint64_t newSize) {
  ScopeTrace scope("Entering DbBuffer::DbBuffer()", "Leaving DbBuffer::DbBuffer()");
  if (newSize != 0) data = new unsigned char[newSize];
  size = newSize;
}

DbBuffer::DbBuffer(DbBuffer&& other) noexcept {
  ScopeTrace scope("Entering DbBuffer::DbBuffer()", "Leaving DbBuffer::DbBuffer()");
  std::swap(size, other.size);
  std::swap(data, other.data);
}

DbBuffer& DbBuffer::operator=(DbBuffer&& other) noexcept {
  ScopeTrace scope("Entering DbBuffer::operator =()", "Leaving DbBuffer::operator =()");
  Reset();
  std::swap(size, other.size);
  std::swap(data, other.data);
  return *this;
}

DbBuffer::~DbBuffer() {
  ScopeTrace scope("Entering DbBuffer::~DbBuffer()", "Leaving DbBuffer::~DbBuffer()");
  Reset();
}

void DbBuffer::Reset() noexcept {
  ScopeTrace scope("Entering DbBuffer::Reset()", "Leaving DbBuffer::Reset()");
  delete[] std::exchange(data, nullptr);
  size = 0;
}

void DbBuffer::Copy(const unsigned char* source, std::uint64_t newSize) {
  ScopeTrace scope("Entering DbBuffer::Copy()", "Leaving DbBuffer::Copy()");
  DbBuffer copy(newSize);
  if (newSize != 0) std::memcpy(copy.data, source, newSize);
  *this = std::move(copy);
}

void DbBuffer::TakeOwnership(unsigned char* block, std::uint64_t newSize) noexcept {
  ScopeTrace scope("Entering DbBuffer::TakeOwnership()", "Leaving DbBuffer::TakeOwnership()");
  Reset();
  data = block;
  size = newSize;
}

unsigned char* DbBuffer::Release() noexcept {
  ScopeTrace scope("Entering DbBuffer::Release()", "Leaving DbBuffer::Release()");
  size = 0;
  return std::exchange(data, nullptr);
}
