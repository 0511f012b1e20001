#pragma once

#include "platform/ModifierState.h"

class XConnection;

// Asks the server for the core keyboard's modifier state at this moment.
class X11ModifierState : public ModifierState {
public:
    explicit X11ModifierState(XConnection& connection);
    bool controlOrOptionHeld() override;

private:
    XConnection& m_connection;
};
