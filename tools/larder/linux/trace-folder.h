// Folders of traces. LTTng keeps them in the home folder by default.
#pragma once

#include <filesystem>
#include <string>

namespace larder::tool {

// The session of this user: a session daemon may serve several users.
[[nodiscard]] std::string TraceSessionName();

// A folder that the user named, as a full path. Throws std::runtime_error.
[[nodiscard]] std::filesystem::path FullFolder(const std::string& given);

// A path that is free for a new trace, named after the time.
[[nodiscard]] std::filesystem::path NewTraceFolder();

// Makes the folder, for this user only: the lines have the paths of files. A folder that is there
// must be empty. Throws std::runtime_error.
void MakeTraceFolder(const std::filesystem::path& folder);

// Removes the folder if nothing but folders is in it.
void RemoveEmptyFolders(const std::filesystem::path& folder);

// Stores which folder this user's last session has. Throws std::runtime_error.
void RememberTraceFolder(const std::filesystem::path& folder);
// Empty if there was no session.
[[nodiscard]] std::filesystem::path LastTraceFolder();

}  // namespace larder::tool
