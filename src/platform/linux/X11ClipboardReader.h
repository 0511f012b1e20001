#pragma once

#include "platform/ClipboardSnapshot.h"
#include "platform/ClipboardText.h"
#include "platform/linux/X11SelectionReader.h"

#include <QCoroTask>

#include <optional>

class XConnection;

// What Wendle reads from a selection: every target with its bytes (a
// snapshot), or its plain text unless it is marked secret. Targets are named
// the way Qt's clipboard names formats, so that a snapshot put back through
// Qt offers the same targets: UTF8_STRING, STRING, TEXT and a bare
// "text/plain" are one format, "text/plain", in UTF-8.
class X11ClipboardReader {
public:
    explicit X11ClipboardReader(XConnection& connection);

    // Nothing when the owner stops answering.
    QCoro::Task<std::optional<ClipboardSnapshot>> snapshot(xcb_atom_t selection);
    QCoro::Task<ClipboardText> text(xcb_atom_t selection);

    X11SelectionReader& reader() { return m_reader; }

private:
    struct Text {
        X11SelectionReader::Answer::Status status = X11SelectionReader::Answer::Status::refused;
        QString text;
    };
    // The best of the plain-text targets offered (all of them, tried in
    // turn, when the owner would not list its targets).
    QCoro::Task<Text> readText(xcb_atom_t selection, QList<xcb_atom_t> offered);
    // Whether the offered targets carry a secret mark; nothing when the
    // owner stops answering.
    QCoro::Task<std::optional<bool>> isSecret(xcb_atom_t selection, QList<xcb_atom_t> offered);

    X11SelectionReader m_reader;
};
