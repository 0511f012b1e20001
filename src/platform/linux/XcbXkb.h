#pragma once

// xcb/xkb.h names a struct member `explicit`, a C++ keyword; rename it around
// the include so the header compiles as C++.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
