/* Larder: the client's interface.
 *
 * Reads and writes facts about objects, above all files, through the provider modules that the
 * machine's registry names. C11 and C++; no system header.
 *
 * A client calls LarderInit, then any number of LarderQuery, LarderFreeQuery and LarderWrite on
 * any thread, then LarderRelease once for each LarderInit that gave a handle. All clients of one
 * process share one handle. A client must not give back the last reference while one of its calls
 * runs on another thread.
 *
 * No function lets an exception out. Every result but that of LarderErrorToString is 0 or a
 * negative LARDER_E_ code, except that LarderQuery passes on whatever code a provider raised.
 */
#ifndef LARDER_LARDER_H
#define LARDER_LARDER_H

#include <larder/records.h>

/* LARDER_STATIC: set by the build of the library itself and by whoever links its objects. */
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

/* Results. LARDER_E_ALREADY_INITIALIZED counts as success: the handle is good and a reference has
 * been taken. The number in a parameter code is fixed for each failure and isn't in every case the
 * argument's place; see the functions. */
#define LARDER_OK 0
#define LARDER_E_DLL_NOT_FOUND (-1)
#define LARDER_E_REGISTRY_KEY_NOT_FOUND (-2)
#define LARDER_E_DB_OPEN_FAILED (-3)
#define LARDER_E_GENERIC (-4)
#define LARDER_E_INVALID_HANDLE (-5)
#define LARDER_E_PARAMETER_1 (-6)
#define LARDER_E_PARAMETER_2 (-7)
#define LARDER_E_PARAMETER_3 (-8)
#define LARDER_E_PARAMETER_4 (-9)
#define LARDER_E_PARAMETER_5 (-10)
#define LARDER_E_ALREADY_INITIALIZED (-11)
#define LARDER_E_INSTALL_IN_PROGRESS (-12)
#define LARDER_E_NO_DATA (-13)
#define LARDER_E_WRONG_VERSION (-14)
#define LARDER_E_FILE_ID_MISMATCH (-15)

/* The version of the query interface that this header describes. */
#define LARDER_QUERY_VERSION 1

/* The shared handle of the process; opaque. Good until the last LarderRelease. */
typedef struct LarderHandleObject* LarderHandle;

/* Tells the client that the product is being upgraded (0) or uninstalled (1). Called at most once
 * in the life of a handle, on a thread of the library, with no lock held, possibly before
 * LarderInit has returned. It must not throw. It must not call LarderInit or LarderRelease: the
 * last LarderRelease waits for a running callback with the library's lock held. */
typedef void (*LarderNotifyCallback)(int32_t message);

/* Takes a reference on the handle of the process, building it if there is none: every provider
 * module that the registry names is loaded, or the whole call fails.
 *   callback  required; kept only by the call that builds the handle
 *   handle    required; set to null first, receives the handle on the two good results
 * LARDER_OK                     this call built the handle
 * LARDER_E_ALREADY_INITIALIZED  the handle existed; a reference has been taken
 * LARDER_E_PARAMETER_2          handle is null (tested first)
 * LARDER_E_PARAMETER_1          callback is null
 * LARDER_E_DB_OPEN_FAILED       the handle couldn't be built; the log tells why
 * Any thread; calls are serialised with each other and with LarderRelease. */
LARDER_API int32_t LarderInit(LarderNotifyCallback callback, LarderHandle* handle);

/* Gives one reference back; with the last one the providers are destroyed and unloaded.
 * LARDER_OK, LARDER_E_INVALID_HANDLE when there is no handle, or LARDER_E_GENERIC. */
LARDER_API int32_t LarderRelease(void);

/* Reads what the provider of a type knows about an object.
 *   objectDescriptor  required; its form is agreed with the provider (file: FileObjectDescriptor)
 *   providerType      0 to 5
 *   queryOption       handed to the provider unchanged
 *   data              required; receives a block that is the caller's until LarderFreeQuery, or
 *                     null with LARDER_E_NO_DATA; untouched on every other failure
 *   version           LARDER_QUERY_VERSION
 * Tests in order: LARDER_E_INVALID_HANDLE; LARDER_E_PARAMETER_2 for a null objectDescriptor;
 * LARDER_E_PARAMETER_3 for a null data; LARDER_E_WRONG_VERSION. Then LARDER_OK, LARDER_E_NO_DATA,
 * a code of the provider's own choice, or LARDER_E_GENERIC (also for a type nobody serves).
 * Any thread. */
LARDER_API int32_t LarderQuery(LarderHandle handle, const void* objectDescriptor,
                               int32_t providerType, uint32_t queryOption, DataBlockHeader** data,
                               uint8_t version);

/* Gives a block of LarderQuery back to the provider that made it. The pointer is dead afterwards,
 * whatever the result, once it has passed the tests: LARDER_E_INVALID_HANDLE; LARDER_E_PARAMETER_2
 * for a null data. Then LARDER_OK or LARDER_E_GENERIC. Any thread, not only the one that queried.
 */
LARDER_API int32_t LarderFreeQuery(LarderHandle handle, DataBlockHeader* data);

/* Gives a copy of a block of data->dataSize bytes to the provider of a type, to be stored. The
 * block stays the caller's; its own providerType is ignored. Tests in order:
 * LARDER_E_INVALID_HANDLE; LARDER_E_PARAMETER_2 for a null objectDescriptor; LARDER_E_PARAMETER_3
 * for a null data. Then LARDER_OK or LARDER_E_GENERIC. Any thread. */
LARDER_API int32_t LarderWrite(LarderHandle handle, const void* objectDescriptor,
                               int32_t providerType, const DataBlockHeader* data);

/* The fixed English text of a result; the empty text for a code that isn't in the list above.
 *   bufferSize  capacity of buffer in wide characters, terminator included
 *   buffer      may be null
 * Returns the size needed in wide characters, terminator included. A text that doesn't fit is not
 * cut: nothing is written then. Any thread, with or without a handle. */
LARDER_API uint32_t LarderErrorToString(int32_t code, uint32_t bufferSize, LarderWideChar* buffer);

#ifdef __cplusplus
}
#endif

#endif
