/* See stdio.h. The type itself is built into the compiler. */
#pragma once
#include <stddef.h>
