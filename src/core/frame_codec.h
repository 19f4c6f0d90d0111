#pragma once

// Framing of the helper socket: a 4-byte unsigned big-endian length, then that many bytes of
// one JSON message. Lengths above HelperConstants::maxFrameBytes are refused on both sides.

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace halvoren {

// The payload with its length prefix. Throws EncodeError for a payload above the limit.
std::string frameBytes(std::string_view json);

// Cuts a byte stream into payloads, whatever the chunking. A declared length above the limit
// fails the reader for good, without buffering the payload: the stream cannot be resynchronised,
// so the caller closes the connection. An empty payload is handed out like any other; it is
// not JSON, and decoding refuses it.
class FrameReader {
public:
    void append(std::string_view bytes);

    // The oldest complete payload not yet taken. Payloads completed before a failure are
    // still handed out; nothing after it.
    std::optional<std::string> next();

    bool failed() const { return !error_.empty(); }
    // Why the reader failed; empty while it has not.
    const std::string& error() const { return error_; }

private:
    void finishHeader();

    static constexpr std::size_t headerBytes = 4;
    std::uint32_t length_ = 0; // the prefix read so far, most significant byte first
    std::size_t headerFill_ = 0;
    bool inPayload_ = false;
    std::size_t expected_ = 0;
    std::string payload_;
    std::deque<std::string> ready_;
    std::string error_;
};

} // namespace halvoren
