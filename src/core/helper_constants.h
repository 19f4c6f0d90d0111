#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace halvoren {

// Names, signing requirements and timings that the application and the fan-control helper
// must agree on; both sides build from this one definition.
namespace HelperConstants {

inline constexpr std::string_view machServiceName = "com.halvoren.SMCService.xpc";
inline constexpr std::string_view daemonPlistName = "com.halvoren.SMCService.plist";
// The daemon's launch label, which is also its code-signing identifier.
inline constexpr std::string_view daemonLabel = "com.halvoren.SMCService";
// The application's bundle identifier, which is also the log subsystem.
inline constexpr std::string_view appBundleID = "com.halvoren.app";
// The developer team that signs both sides.
inline constexpr std::string_view teamID = "ZK7R2MQ5TB";

// Where the system's helper listens off Apple platforms; its service unit passes this path.
inline constexpr std::string_view systemSocketPath = "/run/halvoren/helper.sock";
inline constexpr double heartbeatInterval = 2.5; // seconds between heartbeats
inline constexpr double heartbeatTimeout =
    5.0; // seconds; the daemon's to act on, the application never reads it
inline constexpr double xpcCallTimeout = 4.0; // seconds the application waits for any one reply

// What the daemon demands of its caller: the application, signed by our team.
const std::string& clientRequirement();
// What the application demands of the daemon: the helper, signed by our team.
const std::string& daemonRequirement();
// A looser caller requirement that only debug builds of the daemon use.
inline constexpr std::string_view debugClientRequirement =
    R"(identifier "Halvoren" or identifier "com.halvoren.app")";

// The largest frame payload on the helper socket; a longer declared length is refused.
inline constexpr std::size_t maxFrameBytes = 65536;

} // namespace HelperConstants

// The helper build this application expects; compared for whole-string equality only.
inline constexpr std::string_view helperBuildVersion = "1.2.0";

} // namespace halvoren
