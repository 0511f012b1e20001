#include "settingswindow/SettingsWindow.h"

#include "settingswindow/SettingsRoot.h"

#include <QGuiApplication>
#include <QScreen>
#include <QVBoxLayout>

SettingsWindow::SettingsWindow(const SettingsServices& services, SettingsUI& ui, QWidget* parent)
    : QWidget(parent, Qt::Window | Qt::WindowTitleHint | Qt::WindowCloseButtonHint |
                          Qt::WindowMinimizeButtonHint | Qt::CustomizeWindowHint) {
    setObjectName(QStringLiteral("settingsWindow"));
    setWindowTitle(QStringLiteral("Wendle Settings"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_root = new SettingsRoot(services, ui, this);
    layout->addWidget(m_root);
    // A fixed size is also what tells the window manager not to offer resizing.
    setFixedSize(width, height);
}

void SettingsWindow::centre() {
    QScreen* screen = this->screen() ? this->screen() : QGuiApplication::primaryScreen();
    if (!screen)
        return;
    QRect frame = frameGeometry();
    frame.moveCenter(screen->availableGeometry().center());
    move(frame.topLeft());
}
