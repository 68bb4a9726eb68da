#include "soak/store-damage.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <vector>

#include "soak/content.h"

namespace larder::soak {
namespace {

constexpr std::uint64_t kPage = 4096;

std::vector<std::filesystem::path> FilesOf(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::ranges::sort(files);
  return files;
}

std::string Read(const std::filesystem::path& file, std::uint64_t at, std::uint64_t size) {
  std::string bytes(size, '\0');
  std::ifstream stream(file, std::ios::binary);
  stream.seekg(static_cast<std::streamoff>(at));
  stream.read(bytes.data(), static_cast<std::streamsize>(size));
  return bytes;
}

void Overwrite(const std::filesystem::path& file, std::uint64_t at, const std::string& bytes) {
  std::fstream stream(file, std::ios::binary | std::ios::in | std::ios::out);
  stream.seekp(static_cast<std::streamoff>(at));
  stream << bytes;
}

std::string RandomBytes(std::mt19937_64& random, std::size_t most) {
  return MakeContent(random(), 1 + random() % most);
}

// Half of the places are in the first two pages, where the structure is.
std::uint64_t Place(std::uint64_t size, std::mt19937_64& random) {
  if (size == 0) return 0;
  return random() % 2 == 0 ? random() % size : random() % std::min(size, 2 * kPage);
}

std::string WriteBytes(const std::filesystem::path& file, std::mt19937_64& random) {
  const std::uint64_t size = std::filesystem::file_size(file);
  const std::uint64_t count = 1 + random() % 16;
  for (std::uint64_t i = 0; i < count; ++i)
    Overwrite(file, Place(size, random), RandomBytes(random, 8));
  return std::to_string(count) + " places overwritten";
}

std::string WriteRun(const std::filesystem::path& file, std::mt19937_64& random) {
  const std::uint64_t at = Place(std::filesystem::file_size(file), random);
  const std::size_t size = 1 + random() % (4 * kPage);
  const bool zeros = random() % 2 == 0;
  Overwrite(file, at, zeros ? std::string(size, '\0') : MakeContent(random(), size));
  return (zeros ? "zeros at " : "noise at ") + std::to_string(at);
}

std::string Truncate(const std::filesystem::path& file, std::mt19937_64& random) {
  const std::uint64_t size =
      random() % 4 == 0 ? 0 : Place(std::filesystem::file_size(file), random);
  std::filesystem::resize_file(file, size);
  return "truncated to " + std::to_string(size);
}

std::string Extend(const std::filesystem::path& file, std::mt19937_64& random) {
  std::ofstream(file, std::ios::binary | std::ios::app) << RandomBytes(random, 3 * kPage);
  return "extended";
}

std::string SwapPages(const std::filesystem::path& file, std::mt19937_64& random) {
  const std::uint64_t pages = std::filesystem::file_size(file) / kPage;
  if (pages < 2) return WriteBytes(file, random);
  const std::uint64_t one = random() % pages * kPage;
  const std::uint64_t other = random() % pages * kPage;
  const std::string content = Read(file, one, kPage);
  Overwrite(file, one, Read(file, other, kPage));
  Overwrite(file, other, content);
  return "pages at " + std::to_string(one) + " and " + std::to_string(other) + " swapped";
}

std::string ReplaceWithText(const std::filesystem::path& file, std::mt19937_64& random) {
  std::ofstream(file, std::ios::binary) << "another format" << RandomBytes(random, 2 * kPage);
  return "replaced with another format";
}

std::string Remove(const std::filesystem::path& file, std::mt19937_64&) {
  std::filesystem::remove(file);
  return "removed";
}

std::string ReplaceWithFolder(const std::filesystem::path& file, std::mt19937_64& random) {
  std::filesystem::remove(file);
  std::filesystem::create_directory(file);
  if (random() % 2 == 0) std::ofstream(file / "something") << "else";
  return "replaced with a folder";
}

std::string ReplaceWithOdd(const std::filesystem::path& file, std::mt19937_64& random) {
  return ReplaceWithOddFile(file, random());
}

using Damage = std::string (*)(const std::filesystem::path&, std::mt19937_64&);

constexpr Damage kInPlace[] = {WriteBytes, WriteBytes, WriteRun, WriteRun,
                               Truncate,   SwapPages,  Extend};
constexpr Damage kReplacing[] = {ReplaceWithText, Remove, ReplaceWithFolder, ReplaceWithOdd};

// In one case of sixteen to the whole folder.
std::string Replace(const std::filesystem::path& file, std::mt19937_64& random) {
  const Damage damage = kReplacing[random() % std::size(kReplacing)];
  if (random() % 16 != 0) return file.filename().string() + ' ' + damage(file, random);
  const std::filesystem::path store = file.parent_path();
  std::filesystem::remove_all(store);
  std::ofstream{store};
  return "folder " + damage(store, random);
}

bool IsMapped(const std::filesystem::path& file) {
  return file.filename().string().ends_with("-shm");
}

}  // namespace

std::string DamageStore(const std::filesystem::path& store, std::mt19937_64& random) {
  const auto files = FilesOf(store);
  if (files.empty()) throw std::runtime_error("the store has no files");
  const std::filesystem::path& file = files[random() % files.size()];
  if (random() % 4 == 0) return Replace(file, random);
  return file.filename().string() + ' ' + kInPlace[random() % std::size(kInPlace)](file, random);
}

std::string DamageStoreInUse(const std::filesystem::path& store, std::mt19937_64& random) try {
  auto files = FilesOf(store);
  std::erase_if(files, IsMapped);
  if (files.empty()) return "none";
  const std::filesystem::path& file = files[random() % files.size()];
  return file.filename().string() + ' ' + kInPlace[random() % std::size(kInPlace)](file, random);
} catch (const std::filesystem::filesystem_error&) {
  return "none";  // a process has set the store aside meanwhile
}

}  // namespace larder::soak
