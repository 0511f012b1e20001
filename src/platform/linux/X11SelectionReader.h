#pragma once

#include "platform/linux/XEventListener.h"

#include <QByteArray>
#include <QCoroTask>
#include <QHash>
#include <QList>
#include <QObject>

#include <xcb/xcb.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>

class XConnection;

// Reads selections (CLIPBOARD, PRIMARY) the way the X11 selection protocol
// asks, on our own connection and without ever waiting for the owner: each
// read converts the selection into a property of a window of its own, and
// the coroutine resumes when the owner's SelectionNotify arrives, after the
// last piece of data sent in pieces (INCR), or when the owner has sent
// nothing for the time limit. Qt's clipboard, in contrast, waits up to 5 s
// for an owner with the whole interface frozen.
class X11SelectionReader : public QObject, public XEventListener {
    Q_OBJECT
public:
    struct Answer {
        enum class Status {
            data,     // `bytes` of type `type`
            refused,  // the owner has no such target, or there is no owner
            noAnswer, // the owner sent nothing for the time limit
        };
        Status status = Status::refused;
        QByteArray bytes;
        xcb_atom_t type = XCB_NONE;
    };

    // Long enough for a busy program, short enough that a hung one only
    // delays the palette a little.
    static constexpr std::chrono::milliseconds defaultLimit{500};

    explicit X11SelectionReader(XConnection& connection, QObject* parent = nullptr);
    ~X11SelectionReader() override;

    // One target of `selection`, asked of its owner now.
    QCoro::Task<Answer> read(xcb_atom_t selection, xcb_atom_t target,
                             std::chrono::milliseconds limit = defaultLimit);
    // The targets its owner offers, from TARGETS; empty when there is no
    // owner or it refuses; nothing when it does not answer.
    QCoro::Task<std::optional<QList<xcb_atom_t>>>
    targets(xcb_atom_t selection, std::chrono::milliseconds limit = defaultLimit);

    // Whether the program that owns `selection` also has the keyboard focus:
    // the owner's window and the focused one come from one client, and a
    // client's resource ids share their base. Asks the server only.
    bool ownedByFocusedProgram(xcb_atom_t selection);

    // Interned once, then cached.
    xcb_atom_t atom(const char* name);
    QByteArray atomName(xcb_atom_t atom);

    void handleXEvent(const xcb_generic_event_t* event) override;

private:
    class Request;
    using PropertyReply = std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)>;
    // The whole property, deleted from the window as it is read.
    PropertyReply takeProperty(xcb_window_t window, xcb_atom_t property);
    void received(Request& request, xcb_atom_t property);
    void receivedPiece(Request& request);

    XConnection& m_connection;
    xcb_atom_t m_property = XCB_NONE;
    xcb_atom_t m_incr = XCB_NONE;
    QHash<xcb_window_t, Request*> m_requests;
    QHash<xcb_atom_t, QByteArray> m_names;
};
