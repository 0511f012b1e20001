#pragma once

#include <xcb/xcb.h>

// Something that wants the events arriving on our X connection. Every
// listener sees every event; it picks out its own and returns quickly.
class XEventListener {
public:
    virtual ~XEventListener() = default;
    virtual void handleXEvent(const xcb_generic_event_t* event) = 0;
};
