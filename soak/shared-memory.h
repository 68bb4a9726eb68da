// A file as memory, shared by processes.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>

namespace larder::soak {

// A writable mapping of a whole file.
class Mapping {
 public:
  explicit Mapping(const std::filesystem::path& file);  // throws std::system_error
  ~Mapping();
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;

  std::span<char> Bytes() const { return bytes; }

 private:
  std::span<char> bytes;
};

// Creates the file for others to map, with zeros.
template <typename T>
class SharedState {
 public:
  explicit SharedState(const std::filesystem::path& file) : mapping(Prepared(file)) {}

  T* operator->() const { return reinterpret_cast<T*>(mapping.Bytes().data()); }
  T& operator*() const { return *operator->(); }

 private:
  static const std::filesystem::path& Prepared(const std::filesystem::path& file);

  Mapping mapping;
};

// Makes the file have this size, with zeros where it is new.
void ReserveFile(const std::filesystem::path& file, std::size_t size);

template <typename T>
const std::filesystem::path& SharedState<T>::Prepared(const std::filesystem::path& file) {
  ReserveFile(file, sizeof(T));
  return file;
}

}  // namespace larder::soak
