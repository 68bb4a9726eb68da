// Damage to the files of a store.
#pragma once

#include <cstdint>
#include <filesystem>
#include <random>
#include <string>

namespace larder::soak {

// Damages one file of the store, or replaces it, or the folder, with something else. No process may
// use the store. Returns what was done, for messages.
std::string DamageStore(const std::filesystem::path& store, std::mt19937_64& random);

// Overwrites or truncates a file that processes may be using. Leaves the index of a write-ahead log
// alone (*-shm): processes have it mapped, so truncating it ends them.
std::string DamageStoreInUse(const std::filesystem::path& store, std::mt19937_64& random);

// Replaces the file with an object of another kind that the system has: a FIFO, a link to nowhere.
std::string ReplaceWithOddFile(const std::filesystem::path& file, std::uint64_t kind);

}  // namespace larder::soak
