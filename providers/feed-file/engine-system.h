// What the store's database engine needs of the operating system beyond its own port.
#pragma once

namespace larder::feed {

// Replaces some of the engine's system calls. Call it after each sqlite3_initialize, before a
// database is opened. On Linux:
//   - locks belong to the engine's open files instead of the process: the process's ordinary locks
//     would be lost whenever any of its code opens and closes the same file, as a scanner does;
//   - no signal ends the process when a file reaches the process's limit of file sizes;
//   - the engine's open files are recorded, so that a forked child can close them.
void AdaptEngine() noexcept;

// For the child of a fork: closes the engine's files, whose locks would last as long as the child
// otherwise, whatever becomes of the parent. The engine can't be used in the child.
void CloseEngineFilesInForkedChild() noexcept;

}  // namespace larder::feed
