// Who may write in a folder.
//
// A folder is trusted if no other user can change what this process finds there:
//
//   - It is a real folder: not a symbolic link, a junction or another reparse point.
//   - It belongs to the administrator (Linux: root; Windows: the group Administrators, SYSTEM or
//     TrustedInstaller) or to this process's user.
//   - Nobody else may write in it. On Linux neither group nor others have write permission; the
//     sticky bit doesn't help, since it lets others add files. An access control list shows in the
//     group's permission. On Windows no entry of the access list, not even one that only files and
//     folders in it inherit, grants a right to add, delete or replace to anybody else.
//
// If each level below a trusted folder is trusted, no other user can replace one of them between
// the check and a later use.
//
// On Windows each user may add files and folders to the common data folder, and a folder that is
// created there without rights of its own inherits this. OtherUsers::kMayAdd accepts it, so that
// the log works before "larder setup" has created the folders with rights of their own. A user who
// may only add can't delete, rename or rewrite what belongs to others, but can plant names, and can
// turn the folder into a junction while it is empty. On Linux folders inherit no such right, and
// kMayAdd is the same as kMayNotWrite.
//
// The reasons are for people and complete a sentence that begins with the path, for example
// "belongs to user 1000, who is neither root nor the user of this process".
#pragma once

#include <cstdint>
#include <string>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::platform {

enum class OtherUsers { kMayNotWrite, kMayAdd };

// Why the folder isn't trusted; empty if it is, or if nothing exists at the path. Follows no link
// at the end of the path, which may have a trailing separator.
[[nodiscard]] std::string FolderDistrust(const WideString& folder, OtherUsers others);

// The same for a file, of any type: of a link or a folder only its own owner and rights count.
[[nodiscard]] std::string FileDistrust(const WideString& file);

// Why others could replace a folder in the common data folder; empty if they can't. On Linux they
// may add to it if it has the sticky bit, and links to it are followed. On Windows the system
// protects the folder, and the result is empty.
[[nodiscard]] std::string CommonFolderDistrust(const WideString& common);

struct Distrust {
  WideString folder;
  std::string reason;  // empty if the folders are trusted
};

// Checks the common data folder and each level from there down to the folder, and returns the first
// that isn't trusted. The levels above the folder are checked with kMayAdd. Levels that don't exist
// are passed over. A folder elsewhere isn't trusted.
[[nodiscard]] Distrust DataFolderDistrust(const WideString& folder, OtherUsers others);

// Who may read the files in a folder; everybody may list it.
enum class Readers {
  kEverybody,
  kAdministrators,  // and the folder's creator. On Linux the files' own modes must ensure this.
};

// Creates one level with rights of its own, independent of the umask and of the folder above.
// Linux: 0755. Windows: full access for Administrators, SYSTEM and, if this process isn't an
// administrator's, its user; the readers may read. kAlreadyExists if anything exists at the path.
[[nodiscard]] Code MakeProtectedFolder(const WideString& path, Readers readers);

// Gives these rights to an existing folder, but not to what it contains. Follows no link.
[[nodiscard]] Code ProtectFolder(const WideString& path, Readers readers);

// Returns kSuccess if this process may create a file in the folder, otherwise the code that the
// attempt would return, as far as that is known without trying. freeBytes: the space that is left.
[[nodiscard]] Code QueryCreation(const WideString& folder, std::uint64_t& freeBytes);

}  // namespace larder::platform
