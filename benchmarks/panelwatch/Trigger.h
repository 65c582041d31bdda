#pragma once

#include "Display.h"
#include "Process.h"

#include <memory>
#include <string>
#include <vector>

struct DBusConnection;
struct DBusMessage;

namespace panelwatch {

/// What makes a panel come. Fired once in each round; nothing but the request itself lies between fire()'s
/// answer and the request's leaving.
class Trigger {
public:
    virtual ~Trigger() = default;
    /// Answers the moment of the request.
    virtual double fire() = 0;
    /// The program that the last request started, if that is what requests do.
    virtual std::unique_ptr<Child> takeChild() { return nullptr; }
};

/// Presses keys: "Alt+Shift+9", "Escape".
class KeyTrigger : public Trigger {
public:
    KeyTrigger(Display &display, const std::string &chord) : m_display(display), m_keys(display.keysOf(chord)) {}
    double fire() override { return m_display.press(m_keys); }

private:
    Display &m_display;
    std::vector<Display::KeyCode> m_keys;
};

/// Calls org.freedesktop.Application of a program on the session bus, Activate or one of its actions, over a
/// connection that is there before the request, so that no start of a process is in the figure.
class BusTrigger : public Trigger {
public:
    /// `action` is empty for Activate.
    BusTrigger(const std::string &busName, const std::string &action);
    ~BusTrigger() override;
    double fire() override;

private:
    std::string m_busName;
    std::string m_action;
    std::string m_path;
    DBusConnection *m_connection = nullptr;
};

/// Starts a program.
class CommandTrigger : public Trigger {
public:
    explicit CommandTrigger(std::vector<std::string> command) : m_command(std::move(command)) {}
    double fire() override;
    std::unique_ptr<Child> takeChild() override { return std::move(m_child); }

private:
    std::vector<std::string> m_command;
    std::unique_ptr<Child> m_child;
};

} // namespace panelwatch
