/* Larder: the client interface. C11 and C++; includes no system header.
 *
 * Larder reads and writes records about objects, usually files. The provider modules that the
 * machine's registry names supply the records; the library loads the modules and forwards calls.
 *
 * Usage: call LarderInit, then LarderQuery, LarderFreeQuery and LarderWrite from any thread, then
 * LarderRelease once for each successful LarderInit. All clients in a process share one handle.
 * The caller must not release the last reference while another thread is inside a call.
 *
 * No function throws. LarderErrorToString returns a size. Every other function returns LARDER_OK or
 * a negative LARDER_E_ code; LarderQuery also returns any other code that a provider raises.
 */
#ifndef LARDER_LARDER_H
#define LARDER_LARDER_H

#include <larder/records.h>

/* The version of these headers, and of the package that they belong to; not the version that
 * LarderQuery takes. */
#define LARDER_VERSION_TEXT "0.1.0"
#define LARDER_VERSION_MAJOR 0 /* the first number of the version */
#define LARDER_VERSION_MINOR 1 /* the second one */
#define LARDER_VERSION_PATCH 0 /* the third one */
/* For comparisons: 0.1.0 is 100, 1.2.3 is 10203. */
#define LARDER_VERSION \
  (LARDER_VERSION_MAJOR * 10000 + LARDER_VERSION_MINOR * 100 + LARDER_VERSION_PATCH)

/* Define LARDER_STATIC only to link the library's object files into a program; the library's own
 * build does. */
#if !defined(_WIN32)
#define LARDER_API __attribute__((visibility("default")))
#elif defined(LARDER_STATIC)
#define LARDER_API
#else
#define LARDER_API __declspec(dllimport)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Traps
 *
 * Unloading. Call the last LarderRelease before you unload the library (dlclose, FreeLibrary).
 * Otherwise the handle and its threads remain and keep the library loaded, and an installer's
 * signal still calls the callback, whose code must still be loaded. After a LarderInit that failed
 * with the log enabled, the library stays loaded until the process exits.
 *
 * Static objects and entry points of a DLL (Windows). They run while the system holds its loader
 * lock, without which no thread begins or ends. LarderInit and LarderRelease may be called there if
 * the providers support it, as the included ones do. Don't call LarderQuery or LarderWrite there:
 * they may wait for a thread of the provider.
 *
 * Process exit (Windows). The system ends all other threads, wherever they are, before it destroys
 * the static objects of DLLs: queued log lines are lost, and a lock that such a thread held is
 * never released. Release the handle before the program's main function returns.
 *
 * Fork. The child of a fork has no handle: every call with the parent's handle returns
 * LARDER_E_INVALID_HANDLE. If the parent had a handle, or was inside LarderInit or LarderRelease,
 * LarderInit fails with LARDER_E_DB_OPEN_FAILED in the child and in its children, until one of them
 * executes another program: the parent's providers are still in the child's memory, without their
 * threads. The child must not use or free the parent's blocks. To use Larder in processes that you
 * fork, fork them while no handle exists.
 *
 * Cancellation (pthread_cancel). A thread isn't cancelled inside LarderInit and LarderRelease. In
 * the other functions it is cancelled only inside a provider that doesn't prevent it; the included
 * providers that may wait do. Don't enable asynchronous cancellation (PTHREAD_CANCEL_ASYNCHRONOUS)
 * around a call.
 *
 * Signals. The library's threads block all signals except those that report their own faults
 * (SIGSEGV and the like).
 *
 * A provider's own codes. LarderQuery returns what a provider raises, and a provider can raise 0:
 * set *data to null before the call, and check it even after LARDER_OK. */

/* Result codes
 *
 * Each function documents when it returns them. The number in LARDER_E_PARAMETER_n isn't always the
 * position of the argument. The library itself doesn't return those that are marked as reserved. */

#define LARDER_OK 0                          /* success */
#define LARDER_E_DLL_NOT_FOUND (-1)          /* reserved: a module isn't found */
#define LARDER_E_REGISTRY_KEY_NOT_FOUND (-2) /* reserved: a registry key isn't found */
#define LARDER_E_DB_OPEN_FAILED (-3)         /* the providers couldn't be loaded */
#define LARDER_E_GENERIC (-4)                /* any other failure; the log has the reason */
#define LARDER_E_INVALID_HANDLE (-5)         /* not the current handle */
#define LARDER_E_PARAMETER_1 (-6)            /* an argument is null */
#define LARDER_E_PARAMETER_2 (-7)            /* an argument is null */
#define LARDER_E_PARAMETER_3 (-8)            /* an argument is null */
#define LARDER_E_PARAMETER_4 (-9)            /* reserved */
#define LARDER_E_PARAMETER_5 (-10)           /* reserved */
#define LARDER_E_ALREADY_INITIALIZED (-11)   /* a success: the call took a reference */
#define LARDER_E_INSTALL_IN_PROGRESS (-12)   /* reserved: Larder is being installed */
#define LARDER_E_NO_DATA (-13)               /* the provider has no data for the object */
#define LARDER_E_WRONG_VERSION (-14)         /* the client's header has another version */
#define LARDER_E_FILE_ID_MISMATCH (-15)      /* file provider: the file has changed */

/* The version of the query interface that this header declares. */
#define LARDER_QUERY_VERSION 1

/* The process's shared handle. Opaque; valid until the last LarderRelease. */
typedef struct LarderHandleObject* LarderHandle;

/* Called when an installer announces an upgrade (message 0) or an uninstallation (message 1).
 *
 * Called at most once in a handle's lifetime, on a thread that the library owns, with no lock held,
 * possibly before LarderInit returns. The callback must not throw and must not end its thread. It
 * must not call LarderInit or LarderRelease: the last LarderRelease holds the library's lock while
 * it waits for a running callback. */
typedef void (*LarderNotifyCallback)(int32_t message);

/* Takes a reference to the process's handle. Creates the handle if none exists, which loads every
 * provider module that the registry names; if one of them fails, the call fails.
 *   callback  required; only the call that creates the handle keeps it
 *   handle    required; set to null first, and to the handle on success
 *
 * LARDER_OK                     this call created the handle
 * LARDER_E_ALREADY_INITIALIZED  the handle existed; success
 * LARDER_E_PARAMETER_2          handle is null (checked first)
 * LARDER_E_PARAMETER_1          callback is null
 * LARDER_E_DB_OPEN_FAILED       the handle couldn't be created; the log has the reason
 *
 * May be called from any thread. Calls to LarderInit and LarderRelease are serialized. */
LARDER_API int32_t LarderInit(LarderNotifyCallback callback, LarderHandle* handle);

/* Releases one reference. The last release destroys the providers and unloads their modules.
 *
 * LARDER_OK
 * LARDER_E_INVALID_HANDLE  there is no handle
 * LARDER_E_GENERIC         an internal error
 *
 * May be called from any thread. */
LARDER_API int32_t LarderRelease(void);

/* Reads a provider's data block for an object.
 *   handle            from LarderInit
 *   objectDescriptor  required; the provider defines its format (file provider:
 *                     FileObjectDescriptor)
 *   providerType      0 to 5
 *   queryOption       passed to the provider unchanged
 *   data              required; receives the block on LARDER_OK, null on LARDER_E_NO_DATA; left
 *                     unchanged on every other result
 *   version           LARDER_QUERY_VERSION
 * The caller owns the block and must pass it to LarderFreeQuery.
 *
 * The arguments are checked in this order:
 * LARDER_E_INVALID_HANDLE  handle isn't the current handle
 * LARDER_E_PARAMETER_2     objectDescriptor is null
 * LARDER_E_PARAMETER_3     data is null
 * LARDER_E_WRONG_VERSION   version isn't LARDER_QUERY_VERSION
 * Then:
 * LARDER_OK
 * LARDER_E_NO_DATA         the provider has no data for the object
 * LARDER_E_GENERIC         no provider has the type, or the provider failed
 * any other code           raised by the provider. A provider that raises 0 leaves data unchanged,
 *                          so set *data to null before the call.
 *
 * May be called from any thread. */
LARDER_API int32_t LarderQuery(LarderHandle handle, const void* objectDescriptor,
                               int32_t providerType, uint32_t queryOption, DataBlockHeader** data,
                               uint8_t version);

/* Returns a block from LarderQuery to the provider that created it, to be freed. Once the argument
 * checks pass, the pointer is invalid, whatever the result.
 *   handle  from LarderInit
 *   data    required; the block
 *
 * The arguments are checked in this order:
 * LARDER_E_INVALID_HANDLE  handle isn't the current handle
 * LARDER_E_PARAMETER_2     data is null
 * Then:
 * LARDER_OK
 * LARDER_E_GENERIC         no provider has the block's type, or the provider failed
 *
 * May be called from any thread, not only from the one that queried. */
LARDER_API int32_t LarderFreeQuery(LarderHandle handle, DataBlockHeader* data);

/* Passes a copy of a block to a provider, to be stored.
 *   handle            from LarderInit
 *   objectDescriptor  required; see LarderQuery
 *   providerType      0 to 5; the providerType inside the block is ignored
 *   data              required; data->dataSize bytes are read. The caller keeps the block.
 *
 * The arguments are checked in this order:
 * LARDER_E_INVALID_HANDLE  handle isn't the current handle
 * LARDER_E_PARAMETER_2     objectDescriptor is null
 * LARDER_E_PARAMETER_3     data is null
 * Then:
 * LARDER_OK
 * LARDER_E_GENERIC         no provider has the type, or the provider failed
 *
 * May be called from any thread. */
LARDER_API int32_t LarderWrite(LarderHandle handle, const void* objectDescriptor,
                               int32_t providerType, const DataBlockHeader* data);

/* Writes the English text of a result code, NUL-terminated; empty for a code that isn't listed
 * above.
 *   code        any number
 *   bufferSize  capacity of buffer in wide characters, including the terminator
 *   buffer      may be null
 * Returns the required size in wide characters, including the terminator. Writes nothing if the
 * text doesn't fit. May be called from any thread, with or without a handle. */
LARDER_API uint32_t LarderErrorToString(int32_t code, uint32_t bufferSize, LarderWideChar* buffer);

#ifdef __cplusplus
}
#endif

#endif
