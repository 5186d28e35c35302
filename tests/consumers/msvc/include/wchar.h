/* See stdio.h. The type itself is one of the compiler's. */
#pragma once
#include <stddef.h>
