#include "platform/linux/X11SelectionReader.h"

#include "platform/linux/XConnection.h"

#include <QCoroSignal>
#include <QPointer>
#include <QTimer>

#include <cstdlib>
#include <memory>

namespace {

template <typename Reply>
using ReplyPtr = std::unique_ptr<Reply, decltype(&std::free)>;

template <typename Reply>
ReplyPtr<Reply> owned(Reply* reply) {
    return ReplyPtr<Reply>(reply, &std::free);
}

// Whole properties in one GetProperty: the length counts 32-bit units.
constexpr quint32 wholeProperty = 0x3fffffff;

} // namespace

// One conversion in flight: its window, what has arrived, and the time limit,
// restarted by every piece of an INCR transfer.
class X11SelectionReader::Request : public QObject {
    Q_OBJECT
public:
    xcb_window_t window = XCB_NONE;
    bool incremental = false;
    bool done = false;
    QByteArray pieces;
    Answer answer;
    QTimer limit;

    void finish(Answer result) {
        if (done)
            return;
        done = true;
        answer = std::move(result);
        limit.stop();
        // Resume the reader's caller from the event loop, not from inside
        // the X event dispatch.
        QTimer::singleShot(0, this, [this] { Q_EMIT finished(); });
    }

Q_SIGNALS:
    void finished();
};

X11SelectionReader::X11SelectionReader(XConnection& connection, QObject* parent)
    : QObject(parent)
    , m_connection(connection) {
    m_property = atom("_WENDLE_SELECTION");
    m_incr = atom("INCR");
    m_connection.addListener(this);
}

X11SelectionReader::~X11SelectionReader() {
    m_connection.removeListener(this);
    // A read still waiting stays suspended: its time limit must not resume
    // it into a reader that is gone.
    for (Request* request : std::as_const(m_requests)) {
        request->limit.stop();
        request->done = true;
    }
}

xcb_atom_t X11SelectionReader::atom(const char* name) {
    return m_connection.atom(name);
}

QByteArray X11SelectionReader::atomName(xcb_atom_t atom) {
    const auto found = m_names.constFind(atom);
    if (found != m_names.constEnd())
        return *found;
    xcb_connection_t* c = m_connection.xcb();
    auto reply = owned(xcb_get_atom_name_reply(c, xcb_get_atom_name(c, atom), nullptr));
    QByteArray name;
    if (reply)
        name = QByteArray(xcb_get_atom_name_name(reply.get()),
                          xcb_get_atom_name_name_length(reply.get()));
    m_names.insert(atom, name);
    return name;
}

bool X11SelectionReader::ownedByFocusedProgram(xcb_atom_t selection) {
    xcb_connection_t* c = m_connection.xcb();
    const auto ownerCookie = xcb_get_selection_owner(c, selection);
    const auto focusCookie = xcb_get_input_focus(c);
    auto owner = owned(xcb_get_selection_owner_reply(c, ownerCookie, nullptr));
    auto focus = owned(xcb_get_input_focus_reply(c, focusCookie, nullptr));
    // No focus (None) or the focus following the pointer (PointerRoot) names
    // no program.
    if (!owner || !focus || owner->owner == XCB_NONE || focus->focus == XCB_NONE ||
        focus->focus == XCB_INPUT_FOCUS_POINTER_ROOT)
        return false;
    const quint32 clientBits = ~xcb_get_setup(c)->resource_id_mask;
    return (owner->owner & clientBits) == (focus->focus & clientBits);
}

QCoro::Task<X11SelectionReader::Answer>
X11SelectionReader::read(xcb_atom_t selection, xcb_atom_t target, std::chrono::milliseconds limit) {
    xcb_connection_t* c = m_connection.xcb();
    auto request = std::make_unique<Request>();
    request->window = xcb_generate_id(c);
    // PropertyNotify brings the pieces of an INCR transfer.
    const quint32 events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(c, XCB_COPY_FROM_PARENT, request->window, m_connection.root(), -10, -10, 1, 1,
                      0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                      &events);
    xcb_convert_selection(c, request->window, selection, target, m_property, XCB_CURRENT_TIME);
    m_connection.flush();

    Request* waiting = request.get();
    waiting->limit.setSingleShot(true);
    waiting->limit.setTimerType(Qt::PreciseTimer);
    connect(&waiting->limit, &QTimer::timeout, waiting, [waiting] {
        waiting->finish({Answer::Status::noAnswer, {}, XCB_NONE});
    });
    waiting->limit.start(limit);
    m_requests.insert(waiting->window, waiting);

    QPointer<X11SelectionReader> self(this);
    co_await qCoro(waiting, &Request::finished);
    if (!self)
        co_return waiting->answer;

    m_requests.remove(waiting->window);
    // An owner that answers after all writes to a window that is gone, and
    // gets an error it ignores.
    xcb_destroy_window(c, waiting->window);
    m_connection.flush();
    co_return waiting->answer;
}

QCoro::Task<std::optional<QList<xcb_atom_t>>>
X11SelectionReader::targets(xcb_atom_t selection, std::chrono::milliseconds limit) {
    const Answer answer = co_await read(selection, atom("TARGETS"), limit);
    if (answer.status == Answer::Status::noAnswer)
        co_return std::nullopt;
    QList<xcb_atom_t> atoms;
    if (answer.status == Answer::Status::data) {
        const qsizetype count = answer.bytes.size() / qsizetype(sizeof(xcb_atom_t));
        const auto* values = reinterpret_cast<const xcb_atom_t*>(answer.bytes.constData());
        for (qsizetype i = 0; i < count; ++i) {
            if (values[i] != XCB_NONE && !atoms.contains(values[i]))
                atoms.append(values[i]);
        }
    }
    co_return atoms;
}

void X11SelectionReader::handleXEvent(const xcb_generic_event_t* event) {
    const quint8 type = event->response_type & 0x7f;
    if (type == XCB_SELECTION_NOTIFY) {
        const auto* notify = reinterpret_cast<const xcb_selection_notify_event_t*>(event);
        Request* request = m_requests.value(notify->requestor);
        if (!request || request->done || request->incremental)
            return;
        if (notify->property == XCB_NONE)
            request->finish({Answer::Status::refused, {}, XCB_NONE});
        else
            received(*request, notify->property);
    } else if (type == XCB_PROPERTY_NOTIFY) {
        const auto* change = reinterpret_cast<const xcb_property_notify_event_t*>(event);
        Request* request = m_requests.value(change->window);
        if (request && !request->done && request->incremental && change->atom == m_property &&
            change->state == XCB_PROPERTY_NEW_VALUE)
            receivedPiece(*request);
    }
}

X11SelectionReader::PropertyReply X11SelectionReader::takeProperty(xcb_window_t window,
                                                                   xcb_atom_t property) {
    xcb_connection_t* c = m_connection.xcb();
    return owned(xcb_get_property_reply(
        c, xcb_get_property(c, 1, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, wholeProperty),
        nullptr));
}

void X11SelectionReader::received(Request& request, xcb_atom_t property) {
    // Reading with delete also starts an INCR transfer: the owner sends the
    // first piece once the property is gone.
    auto reply = takeProperty(request.window, property);
    if (!reply) {
        request.finish({Answer::Status::refused, {}, XCB_NONE});
        return;
    }
    if (reply->type == m_incr) {
        request.incremental = true;
        request.limit.start();
        return;
    }
    const int length = xcb_get_property_value_length(reply.get());
    QByteArray bytes(static_cast<const char*>(xcb_get_property_value(reply.get())), length);
    request.finish({Answer::Status::data, bytes, reply->type});
}

void X11SelectionReader::receivedPiece(Request& request) {
    auto reply = takeProperty(request.window, m_property);
    if (!reply) {
        request.finish({Answer::Status::refused, {}, XCB_NONE});
        return;
    }
    const int length = xcb_get_property_value_length(reply.get());
    if (length == 0) {
        // An empty piece ends the transfer.
        request.finish({Answer::Status::data, request.pieces, reply->type});
        return;
    }
    request.pieces.append(static_cast<const char*>(xcb_get_property_value(reply.get())), length);
    request.limit.start();
}

#include "X11SelectionReader.moc"
