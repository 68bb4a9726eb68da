#include "platform/folder-access.h"

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>

#include "platform/message.h"
#include "platform/scoped-handle.h"
#include "platform/windows/access-list.h"
#include "platform/windows/native.h"

namespace larder::platform {
namespace {

struct FreeLocal {
  void operator()(void* memory) const noexcept { LocalFree(memory); }
};
template <typename Object>
using OwnedLocal = std::unique_ptr<Object, FreeLocal>;

// Accounts as text ("S-1-5-18").
constexpr const wchar_t* kAdministrators = L"S-1-5-32-544";
constexpr std::array<const wchar_t*, 5> kTrustedAccounts = {
    kAdministrators,
    L"S-1-5-18",                                                        // SYSTEM
    L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464",  // TrustedInstaller
    L"S-1-3-0",  // in an entry to be inherited: the one that creates the file
    L"S-1-3-4",  // in an entry: the owner
};

// What users may do in the common data folder. The attributes include a folder's reparse point. On
// a file, FILE_ADD_FILE is FILE_WRITE_DATA, and FILE_ADD_SUBDIRECTORY is FILE_APPEND_DATA.
constexpr DWORD kAdding =
    FILE_ADD_FILE | FILE_ADD_SUBDIRECTORY | FILE_WRITE_EA | FILE_WRITE_ATTRIBUTES;
constexpr DWORD kChanging =
    FILE_DELETE_CHILD | DELETE | WRITE_DAC | WRITE_OWNER | GENERIC_WRITE | GENERIC_ALL;

std::wstring TextOf(PSID account) {
  wchar_t* text = nullptr;
  if (ConvertSidToStringSidW(account, &text) == FALSE) return {};
  const OwnedLocal<wchar_t> owner(text);
  return text;
}

// The user of the process, also while a thread acts for another one. Empty if that can't be found.
std::wstring OwnAccount() {
  HANDLE opened = nullptr;
  if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened) == FALSE) return {};
  const std::unique_ptr<void, decltype(&CloseHandle)> token(opened, CloseHandle);
  alignas(TOKEN_USER) std::array<unsigned char, sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE> user;
  DWORD size = 0;
  if (GetTokenInformation(token.get(), TokenUser, user.data(), user.size(), &size) == FALSE)
    return {};
  return TextOf(reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid);
}

bool IsAdministrator() {
  PSID administrators = nullptr;
  if (ConvertStringSidToSidW(kAdministrators, &administrators) == FALSE) return false;
  const OwnedLocal<void> owner(administrators);
  BOOL isMember = FALSE;
  return CheckTokenMembership(nullptr, administrators, &isMember) != FALSE && isMember != FALSE;
}

bool IsTrusted(const std::wstring& account) {
  if (account.empty()) return false;
  const auto* const end = kTrustedAccounts.end();
  return std::find(kTrustedAccounts.begin(), end, account) != end || account == OwnAccount();
}

// The account that an entry of an access list grants rights to, and the rights; false for an entry
// that grants nothing.
bool ReadEntry(void* entry, DWORD& rights, std::wstring& account) {
  const auto* const header = static_cast<const ACE_HEADER*>(entry);
  if (header->AceType == ACCESS_ALLOWED_ACE_TYPE ||
      header->AceType == ACCESS_ALLOWED_CALLBACK_ACE_TYPE) {
    auto* const allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
    rights = allowed->Mask;
    account = TextOf(&allowed->SidStart);
    return true;
  }
  if (header->AceType != ACCESS_ALLOWED_OBJECT_ACE_TYPE &&
      header->AceType != ACCESS_ALLOWED_CALLBACK_OBJECT_ACE_TYPE) {
    return false;
  }
  rights = static_cast<ACCESS_ALLOWED_OBJECT_ACE*>(entry)->Mask;
  account = L"an object entry";  // has no meaning for files
  return true;
}

std::string AccessDistrust(const WideString& path, OtherUsers others) {
  OwnedHandle file;
  constexpr DWORD kFlags = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT;
  const NativeOpening opening{READ_CONTROL, kShareAll, OPEN_EXISTING, kFlags};
  Code code = OpenNativeFile(path, opening, file.Out());
  PSID owner = nullptr;
  PACL list = nullptr;
  void* descriptor = nullptr;
  if (code == kSuccess) {
    code = GetSecurityInfo(Native(file.Get()), SE_FILE_OBJECT,
                           OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner, nullptr,
                           &list, nullptr, &descriptor);
  }
  if (code != kSuccess) return "can't be inspected: " + SystemReason(code);
  const OwnedLocal<void> memory(descriptor);
  const std::wstring account = TextOf(owner);
  if (IsTrusted(account)) return ListDistrust(list, others);
  return "belongs to the account " + Utf8FromWide(account) +
         ", which is neither an administrator's nor the one of this process";
}

// The attributes of the entry itself, also if it is a link. False if there is none; reason says why
// if that isn't known.
bool ReadAttributes(const WideString& path, DWORD& attributes, std::string& reason) {
  WideString native;
  Code code = NativePath(path, native);
  if (code == kSuccess) {
    attributes = GetFileAttributesW(native.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES) return true;
    code = LastError();
  }
  if (code != kFileNotFound && code != kPathNotFound) {
    reason = "can't be inspected: " + SystemReason(code);
  }
  return false;
}

// The access list of a protected folder: full access for Administrators and SYSTEM, reading for
// Users; inherited by folders (CI) and by files (OI).
std::wstring RightsText(Readers readers) {
  std::wstring text = L"D:P(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";
  text += readers == Readers::kEverybody ? L"(A;OICI;0x1200a9;;;BU)" : L"(A;CI;0x1200a9;;;BU)";
  if (!IsAdministrator()) return text + L"(A;OICI;FA;;;" + OwnAccount() + L")";
  return L"O:BA" + text;
}

Code RightsOf(Readers readers, OwnedLocal<void>& descriptor) {
  PSECURITY_DESCRIPTOR converted = nullptr;
  const std::wstring text = RightsText(readers);
  if (ConvertStringSecurityDescriptorToSecurityDescriptorW(text.c_str(), SDDL_REVISION_1,
                                                           &converted, nullptr) == FALSE) {
    return LastError();
  }
  descriptor.reset(converted);
  return kSuccess;
}

}  // namespace

std::string ListDistrust(PACL list, OtherUsers others) {
  if (list == nullptr) return "may be written by every user: it has no access list";
  for (WORD i = 0; i < list->AceCount; ++i) {
    void* entry = nullptr;
    DWORD rights = 0;
    std::wstring account;
    if (GetAce(list, i, &entry) == FALSE) return "can't be inspected: " + SystemReason(LastError());
    if (!ReadEntry(entry, rights, account) || IsTrusted(account)) continue;
    // For files the rights to add are rights to write.
    const bool isForFiles = (static_cast<ACE_HEADER*>(entry)->AceFlags & OBJECT_INHERIT_ACE) != 0;
    const bool mayAdd = others == OtherUsers::kMayAdd && !isForFiles;
    if ((rights & (mayAdd ? kChanging : kChanging | kAdding)) == 0) continue;
    return "may be written by the account " + Utf8FromWide(account);
  }
  return {};
}

std::string FolderDistrust(const WideString& folder, OtherUsers others) {
  WideString path = folder;
  while (path.ends_with(L'\\')) path.pop_back();
  DWORD attributes = 0;
  std::string reason;
  if (!ReadAttributes(path, attributes, reason)) return reason;
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    return "is a link, a junction or another reparse point";
  }
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return "isn't a folder";
  return AccessDistrust(path, others);
}

std::string FileDistrust(const WideString& file) {
  DWORD attributes = 0;
  std::string reason;
  if (!ReadAttributes(file, attributes, reason)) return reason;
  return AccessDistrust(file, OtherUsers::kMayNotWrite);
}

std::string CommonFolderDistrust(const WideString&) { return {}; }

Code MakeProtectedFolder(const WideString& path, Readers readers) {
  WideString native;
  OwnedLocal<void> rights;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  if (const Code code = RightsOf(readers, rights); code != kSuccess) return code;
  SECURITY_ATTRIBUTES attributes{sizeof attributes, rights.get(), FALSE};
  return CreateDirectoryW(native.c_str(), &attributes) != FALSE ? kSuccess : LastError();
}

Code ProtectFolder(const WideString& path, Readers readers) {
  OwnedHandle folder;
  OwnedLocal<void> rights;
  constexpr DWORD kFlags = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT;
  const NativeOpening opening{READ_CONTROL | WRITE_DAC, kShareAll, OPEN_EXISTING, kFlags};
  if (const Code code = OpenNativeFile(path, opening, folder.Out()); code != kSuccess) return code;
  if (const Code code = RightsOf(readers, rights); code != kSuccess) return code;
  // Unlike SetSecurityInfo this doesn't change what is in the folder, where others may have planted
  // links.
  constexpr SECURITY_INFORMATION kWhat =
      DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION;
  const BOOL isSet = SetKernelObjectSecurity(Native(folder.Get()), kWhat, rights.get());
  return isSet != FALSE ? kSuccess : LastError();
}

Code QueryCreation(const WideString& folder, std::uint64_t& freeBytes) {
  OwnedHandle opened;
  const NativeOpening opening{FILE_ADD_FILE, kShareAll, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS};
  if (const Code code = OpenNativeFile(folder, opening, opened.Out()); code != kSuccess)
    return code;
  WideString native;
  if (const Code code = NativePath(folder, native); code != kSuccess) return code;
  ULARGE_INTEGER available;
  if (GetDiskFreeSpaceExW(native.c_str(), &available, nullptr, nullptr) == FALSE)
    return LastError();
  freeBytes = available.QuadPart;
  return kSuccess;
}

}  // namespace larder::platform
