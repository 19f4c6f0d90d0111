#pragma once

// The last-gasp safety for process exit: one restoreAutomaticControl frame written to the
// current helper connection, so that fans go back to the firmware even when the application
// ends without restoring them. It lives outside the driver because an exit hook cannot reach
// into it; the driver keeps the mirror below up to date.
namespace halvoren::HelperExitSafety {

// The descriptor of the current helper connection, or -1; read by the exit hook.
void mirrorConnection(int descriptor);
void clearConnection();

// Registers the exit hook with std::atexit, at most once per process. Returns whether this
// call registered it.
bool install();
// How many times the hook was registered in this process: 0 or 1.
int registrations();

// What the hook does: one frame put on its way with a single non-blocking write, without
// waiting for a reply, or nothing when there is no connection. Returns whether the whole frame
// was written.
bool sendRestore();

} // namespace halvoren::HelperExitSafety
