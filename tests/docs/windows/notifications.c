/* The installer of docs/notifications.md. */
#include <windows.h>

void Upgrade(void);

void Upgrade(void) {
#include "notifications/windows.c"
}
