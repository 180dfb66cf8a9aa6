/* What the compiler package lacks of macOS's <sys/reboot.h>. */
#pragma once

#include <unistd.h>

#define RB_AUTOBOOT 0
#define RB_HALT 0x08
