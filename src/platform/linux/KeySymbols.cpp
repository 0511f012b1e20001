#include "platform/linux/KeySymbols.h"

#include <xkbcommon/xkbcommon-keysyms.h>

namespace KeySymbols {

xkb_keysym_t fromQtKey(Qt::Key key) {
    switch (key) {
    case Qt::Key_Escape:
        return XKB_KEY_Escape;
    case Qt::Key_Tab:
        return XKB_KEY_Tab;
    case Qt::Key_Backtab:
        return XKB_KEY_ISO_Left_Tab;
    case Qt::Key_Backspace:
        return XKB_KEY_BackSpace;
    case Qt::Key_Return:
        return XKB_KEY_Return;
    case Qt::Key_Enter:
        return XKB_KEY_KP_Enter;
    case Qt::Key_Insert:
        return XKB_KEY_Insert;
    case Qt::Key_Delete:
        return XKB_KEY_Delete;
    case Qt::Key_Pause:
        return XKB_KEY_Pause;
    case Qt::Key_Print:
        return XKB_KEY_Print;
    case Qt::Key_Home:
        return XKB_KEY_Home;
    case Qt::Key_End:
        return XKB_KEY_End;
    case Qt::Key_Left:
        return XKB_KEY_Left;
    case Qt::Key_Up:
        return XKB_KEY_Up;
    case Qt::Key_Right:
        return XKB_KEY_Right;
    case Qt::Key_Down:
        return XKB_KEY_Down;
    case Qt::Key_PageUp:
        return XKB_KEY_Prior;
    case Qt::Key_PageDown:
        return XKB_KEY_Next;
    case Qt::Key_Menu:
        return XKB_KEY_Menu;
    default:
        break;
    }
    if (key >= Qt::Key_F1 && key <= Qt::Key_F35)
        return XKB_KEY_F1 + (key - Qt::Key_F1);
    if (key >= Qt::Key_A && key <= Qt::Key_Z)
        return XKB_KEY_a + (key - Qt::Key_A);
    // Below 0x01000000, Qt's key codes are the character's code point; Latin-1
    // keysyms share it, the rest have their Unicode keysym.
    if (key >= 0x20 && key < 0x01000000)
        return xkb_keysym_to_lower(xkb_utf32_to_keysym(quint32(key)));
    return XKB_KEY_NoSymbol;
}

} // namespace KeySymbols
