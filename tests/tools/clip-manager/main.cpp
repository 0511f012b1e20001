// A clipboard manager for tests, following the freedesktop clipboard manager
// convention: it owns the CLIPBOARD_MANAGER selection; when a program that
// quits asks it to convert that selection to SAVE_TARGETS, it reads every
// target of the CLIPBOARD from that program, answers, and once the program's
// selection window is gone it takes the CLIPBOARD and serves what it saved,
// until another program takes the clipboard.
//
//   wendle-test-clip-manager
//
// Prints "managing" once it owns CLIPBOARD_MANAGER, "saved TARGET..." after a
// save, "serving" once it owns the CLIPBOARD and "lost" when it loses it.

#include <xcb/xcb.h>

#include <poll.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeDeleter>;
using Event = std::unique_ptr<xcb_generic_event_t, FreeDeleter>;

struct Saved {
    xcb_atom_t type = XCB_NONE;
    uint8_t format = 8;
    std::vector<uint8_t> bytes;
};

class Manager {
public:
    bool open();
    int run();

private:
    xcb_atom_t atom(const char* name);
    std::string atomName(xcb_atom_t atom);
    // The next event that `wanted` accepts, within `timeoutMs`; others are
    // kept for later.
    Event waitFor(const std::function<bool(xcb_generic_event_t*)>& wanted, int timeoutMs);
    Event nextEvent();
    // Converts the CLIPBOARD to `target` into our window's property.
    bool convert(xcb_atom_t target, Saved* out);
    void save(const xcb_selection_request_event_t& request);
    void serve(const xcb_selection_request_event_t& request);
    void answer(const xcb_selection_request_event_t& request, xcb_atom_t property);
    void takeClipboardWhenOwnerIsGone();

    xcb_connection_t* m_c = nullptr;
    xcb_window_t m_window = XCB_NONE;
    xcb_window_t m_previousOwner = XCB_NONE;
    std::deque<Event> m_pending;
    std::map<xcb_atom_t, Saved> m_saved;
    xcb_atom_t m_clipboard = XCB_NONE, m_manager = XCB_NONE, m_targets = XCB_NONE,
               m_saveTargets = XCB_NONE, m_multiple = XCB_NONE, m_timestamp = XCB_NONE,
               m_delete = XCB_NONE, m_incr = XCB_NONE, m_property = XCB_NONE;
};

xcb_atom_t Manager::atom(const char* name) {
    Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        m_c, xcb_intern_atom(m_c, 0, uint16_t(std::strlen(name)), name), nullptr));
    return reply ? reply->atom : XCB_NONE;
}

std::string Manager::atomName(xcb_atom_t atom) {
    Reply<xcb_get_atom_name_reply_t> reply(
        xcb_get_atom_name_reply(m_c, xcb_get_atom_name(m_c, atom), nullptr));
    if (!reply)
        return "?";
    return std::string(xcb_get_atom_name_name(reply.get()),
                       size_t(xcb_get_atom_name_name_length(reply.get())));
}

bool Manager::open() {
    int screenNumber = 0;
    m_c = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(m_c))
        return false;
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(m_c));
    for (int i = 0; i < screenNumber; ++i)
        xcb_screen_next(&screens);
    m_window = xcb_generate_id(m_c);
    const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(m_c, XCB_COPY_FROM_PARENT, m_window, screens.data->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    m_clipboard = atom("CLIPBOARD");
    m_manager = atom("CLIPBOARD_MANAGER");
    m_targets = atom("TARGETS");
    m_saveTargets = atom("SAVE_TARGETS");
    m_multiple = atom("MULTIPLE");
    m_timestamp = atom("TIMESTAMP");
    m_delete = atom("DELETE");
    m_incr = atom("INCR");
    m_property = atom("WENDLE_TEST_CLIP_MANAGER");
    xcb_set_selection_owner(m_c, m_window, m_manager, XCB_CURRENT_TIME);
    Reply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(m_c, xcb_get_selection_owner(m_c, m_manager), nullptr));
    return owner && owner->owner == m_window;
}

Event Manager::nextEvent() {
    if (!m_pending.empty()) {
        Event event = std::move(m_pending.front());
        m_pending.pop_front();
        return event;
    }
    return Event(xcb_wait_for_event(m_c));
}

Event Manager::waitFor(const std::function<bool(xcb_generic_event_t*)>& wanted, int timeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        xcb_flush(m_c);
        while (Event event{xcb_poll_for_event(m_c)}) {
            if (wanted(event.get()))
                return event;
            m_pending.push_back(std::move(event));
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0 || xcb_connection_has_error(m_c))
            return nullptr;
        pollfd fd{xcb_get_file_descriptor(m_c), POLLIN, 0};
        poll(&fd, 1, int(left.count()));
    }
}

bool Manager::convert(xcb_atom_t target, Saved* out) {
    xcb_convert_selection(m_c, m_window, m_clipboard, target, m_property, XCB_CURRENT_TIME);
    Event notify = waitFor(
        [this](xcb_generic_event_t* e) {
            return (e->response_type & 0x7f) == XCB_SELECTION_NOTIFY &&
                   reinterpret_cast<xcb_selection_notify_event_t*>(e)->requestor == m_window;
        },
        3000);
    if (!notify ||
        reinterpret_cast<xcb_selection_notify_event_t*>(notify.get())->property == XCB_NONE)
        return false;
    Reply<xcb_get_property_reply_t> property(xcb_get_property_reply(
        m_c, xcb_get_property(m_c, 1, m_window, m_property, XCB_GET_PROPERTY_TYPE_ANY, 0, 1 << 24),
        nullptr));
    if (!property || property->type == m_incr)
        return false; // large transfers are not needed by the tests
    out->type = property->type;
    out->format = property->format;
    const auto* data = static_cast<const uint8_t*>(xcb_get_property_value(property.get()));
    out->bytes.assign(data, data + xcb_get_property_value_length(property.get()));
    return true;
}

void Manager::answer(const xcb_selection_request_event_t& request, xcb_atom_t property) {
    xcb_selection_notify_event_t notify{};
    notify.response_type = XCB_SELECTION_NOTIFY;
    notify.time = request.time;
    notify.requestor = request.requestor;
    notify.selection = request.selection;
    notify.target = request.target;
    notify.property = property;
    xcb_send_event(m_c, 0, request.requestor, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&notify));
    xcb_flush(m_c);
}

void Manager::save(const xcb_selection_request_event_t& request) {
    Reply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(m_c, xcb_get_selection_owner(m_c, m_clipboard), nullptr));
    Saved targets;
    if (!owner || owner->owner == XCB_NONE || !convert(m_targets, &targets)) {
        answer(request, XCB_NONE);
        return;
    }
    m_previousOwner = owner->owner;
    m_saved.clear();
    std::string names;
    const auto* atoms = reinterpret_cast<const xcb_atom_t*>(targets.bytes.data());
    for (size_t i = 0; i < targets.bytes.size() / sizeof(xcb_atom_t); ++i) {
        const xcb_atom_t target = atoms[i];
        if (target == m_targets || target == m_multiple || target == m_timestamp ||
            target == m_saveTargets || target == m_delete)
            continue;
        Saved saved;
        if (convert(target, &saved)) {
            m_saved[target] = std::move(saved);
            names += " " + atomName(target);
        }
    }
    answer(request, request.property);
    std::printf("saved%s\n", names.c_str());
    std::fflush(stdout);
    takeClipboardWhenOwnerIsGone();
}

void Manager::takeClipboardWhenOwnerIsGone() {
    // The owner's window disappears when the program ends.
    const uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_c, m_previousOwner, XCB_CW_EVENT_MASK, &mask);
    Reply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(m_c, xcb_get_selection_owner(m_c, m_clipboard), nullptr));
    if (owner && owner->owner != m_previousOwner) {
        xcb_set_selection_owner(m_c, m_window, m_clipboard, XCB_CURRENT_TIME);
        std::printf("serving\n");
        std::fflush(stdout);
        m_previousOwner = XCB_NONE;
    }
}

void Manager::serve(const xcb_selection_request_event_t& request) {
    const xcb_atom_t property = request.property == XCB_NONE ? request.target : request.property;
    if (request.target == m_targets) {
        std::vector<xcb_atom_t> atoms{m_targets};
        for (const auto& [target, saved] : m_saved)
            atoms.push_back(target);
        xcb_change_property(m_c, XCB_PROP_MODE_REPLACE, request.requestor, property, XCB_ATOM_ATOM,
                            32, uint32_t(atoms.size()), atoms.data());
        answer(request, property);
        return;
    }
    const auto found = m_saved.find(request.target);
    if (found == m_saved.end()) {
        answer(request, XCB_NONE);
        return;
    }
    const Saved& saved = found->second;
    xcb_change_property(m_c, XCB_PROP_MODE_REPLACE, request.requestor, property, saved.type,
                        saved.format, uint32_t(saved.bytes.size() / (saved.format / 8)),
                        saved.bytes.data());
    answer(request, property);
}

int Manager::run() {
    std::printf("managing\n");
    std::fflush(stdout);
    while (Event event = nextEvent()) {
        switch (event->response_type & 0x7f) {
        case XCB_SELECTION_REQUEST: {
            const auto& request = *reinterpret_cast<xcb_selection_request_event_t*>(event.get());
            if (request.selection == m_manager && request.target == m_saveTargets)
                save(request);
            else if (request.selection == m_manager && request.target == m_targets)
                answer(request, XCB_NONE);
            else if (request.selection == m_clipboard)
                serve(request);
            else
                answer(request, XCB_NONE);
            break;
        }
        case XCB_DESTROY_NOTIFY: {
            const auto* destroyed = reinterpret_cast<xcb_destroy_notify_event_t*>(event.get());
            if (m_previousOwner != XCB_NONE && destroyed->window == m_previousOwner) {
                xcb_set_selection_owner(m_c, m_window, m_clipboard, XCB_CURRENT_TIME);
                xcb_flush(m_c);
                m_previousOwner = XCB_NONE;
                std::printf("serving\n");
                std::fflush(stdout);
            }
            break;
        }
        case XCB_SELECTION_CLEAR:
            if (reinterpret_cast<xcb_selection_clear_event_t*>(event.get())->selection ==
                m_clipboard) {
                std::printf("lost\n");
                std::fflush(stdout);
            }
            break;
        default:
            break;
        }
    }
    return 0;
}

} // namespace

int main() {
    Manager manager;
    if (!manager.open()) {
        std::fprintf(stderr, "clip-manager: cannot own CLIPBOARD_MANAGER\n");
        return 1;
    }
    return manager.run();
}
