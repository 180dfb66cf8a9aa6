#pragma once

#include <locale.h>
#include <stdlib.h>
