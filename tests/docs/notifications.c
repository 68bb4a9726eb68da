/* The callback of docs/notifications.md. */
#include <larder/larder.h>
#include <stdatomic.h>

static atomic_int received;

#include "notifications/for-authors-of-clients.c"

int32_t InitWithCallback(LarderHandle* handle);

int32_t InitWithCallback(LarderHandle* handle) { return LarderInit(OnInstallerMessage, handle); }
