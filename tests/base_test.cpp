#include "tests/support/support.h"
