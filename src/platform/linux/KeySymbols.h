#pragma once

#include <Qt>

#include <xkbcommon/xkbcommon.h>

// Qt key codes to X keysyms, for keys the program posts. Letters map to their
// lower-case keysym: Shift is a modifier the caller asks for.
namespace KeySymbols {

xkb_keysym_t fromQtKey(Qt::Key key);

} // namespace KeySymbols
