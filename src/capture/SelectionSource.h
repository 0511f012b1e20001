#pragma once

#include <QMetaType>

// Where the text the palette works on came from.
enum class SelectionSource {
    selection, // copied out of the front application's selection; Replace is possible
    clipboard, // no selection could be copied, the clipboard's text is used instead
    none,      // no text at all; the palette can only close
};

Q_DECLARE_METATYPE(SelectionSource)
