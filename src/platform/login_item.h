#pragma once

#include <QString>
#include <memory>
#include <optional>
#include <string>

namespace halvoren {

// Whether the application starts when the user logs in. Main thread only.
class LoginItem {
public:
    virtual ~LoginItem() = default;
    LoginItem(const LoginItem&) = delete;
    LoginItem& operator=(const LoginItem&) = delete;

    // What the system would do at the next login.
    virtual bool isEnabled() const = 0;
    // Registers or unregisters the application; the system's description of a failure, or none.
    virtual std::optional<std::string> setEnabled(bool enabled) = 0;

protected:
    LoginItem() = default;
};

// On Linux an XDG autostart entry, "halvoren.desktop" in `directory` (empty: the user's
// autostart folder, $XDG_CONFIG_HOME/autostart), starting `program` (empty: this one). The entry
// is written whole or not at all; a desktop that hid or disabled it counts as off.
std::unique_ptr<LoginItem> xdgAutostartLoginItem(QString directory = {}, QString program = {});

// The platform's own.
std::unique_ptr<LoginItem> systemLoginItem();

} // namespace halvoren
