// The host's DbBuffer: the operations of larder/provider.h, each logged. Inline for the sake of the
// exports, whose time consists of such short calls.
#pragma once

#include <larder/provider.h>

#include "log/log-statement.h"

inline DbBuffer::DbBuffer() noexcept {
  larder::ScopeTrace scope("Entering DbBuffer::DbBuffer()", "Leaving DbBuffer::DbBuffer()");
}

inline DbBuffer::DbBuffer(std::uint64_t newSize) {
  larder::ScopeTrace scope("Entering DbBuffer::DbBuffer()", "Leaving DbBuffer::DbBuffer()");
  if (newSize != 0) data = new unsigned char[newSize];
  size = newSize;
}

inline DbBuffer::DbBuffer(DbBuffer&& other) noexcept {
  larder::ScopeTrace scope("Entering DbBuffer::DbBuffer()", "Leaving DbBuffer::DbBuffer()");
  std::swap(size, other.size);
  std::swap(data, other.data);
}

inline DbBuffer& DbBuffer::operator=(DbBuffer&& other) noexcept {
  larder::ScopeTrace scope("Entering DbBuffer::operator =()", "Leaving DbBuffer::operator =()");
  Reset();
  std::swap(size, other.size);
  std::swap(data, other.data);
  return *this;
}

inline DbBuffer::~DbBuffer() {
  larder::ScopeTrace scope("Entering DbBuffer::~DbBuffer()", "Leaving DbBuffer::~DbBuffer()");
  Reset();
}

inline void DbBuffer::Reset() noexcept {
  larder::ScopeTrace scope("Entering DbBuffer::Reset()", "Leaving DbBuffer::Reset()");
  delete[] std::exchange(data, nullptr);
  size = 0;
}

inline void DbBuffer::Copy(const unsigned char* source, std::uint64_t newSize) {
  larder::ScopeTrace scope("Entering DbBuffer::Copy()", "Leaving DbBuffer::Copy()");
  DbBuffer copy(newSize);
  if (newSize != 0) std::memcpy(copy.data, source, newSize);
  *this = std::move(copy);
}

inline void DbBuffer::TakeOwnership(unsigned char* block, std::uint64_t newSize) noexcept {
  larder::ScopeTrace scope("Entering DbBuffer::TakeOwnership()",
                           "Leaving DbBuffer::TakeOwnership()");
  Reset();
  data = block;
  size = newSize;
}

inline unsigned char* DbBuffer::Release() noexcept {
  larder::ScopeTrace scope("Entering DbBuffer::Release()", "Leaving DbBuffer::Release()");
  size = 0;
  return std::exchange(data, nullptr);
}
