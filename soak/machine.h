// The machine of a run: a registry and a store of its own.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace larder::soak {

// Makes this process and those that it starts use the machine in the folder. On Windows the machine
// is the one that the program runs on.
void UseMachine(const std::filesystem::path& folder);

// The folder with the store's folder, "store", and with what belongs to it.
std::filesystem::path StoreParent(const std::filesystem::path& folder);

// Deletes what the folder has, uses it as the machine, and registers the providers beside this
// program with an empty store of this limit. Throws std::runtime_error or std::system_error.
void PrepareMachine(const std::filesystem::path& folder, int limitMiB);

// Runs the tool on the machine in use. Throws std::runtime_error if it fails.
void RunTool(std::vector<std::string> arguments);

// Deletes the store's folder and what is beside it. No process may use the store meanwhile.
void DeleteStore(const std::filesystem::path& folder);

// The bytes of all regular files in the store's folder.
std::uintmax_t StoreSize(const std::filesystem::path& folder);

// Opens, reads and closes the store's files, as a program does that scans the whole disk.
void ReadStoreFiles(const std::filesystem::path& folder);

}  // namespace larder::soak
