#pragma once

// The header of the XKB protocol has a member with the name of a keyword of C++.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
