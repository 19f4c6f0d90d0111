// The helper socket's byte stream, as the daemon and the driver read it: frames cut from the bytes
// in chunks of any size, then every payload decoded as a request and as the reply to each method.
// The first input byte picks the chunk size.

#include "core/frame_codec.h"
#include "core/helper_constants.h"
#include "core/helper_messages.h"
#include "fuzz_check.h"

#include <string>
#include <variant>
#include <vector>

namespace {

using namespace halvoren;
using fuzz::check;

std::vector<std::string> drain(FrameReader& reader) {
    std::vector<std::string> payloads;
    while (auto payload = reader.next()) {
        payloads.push_back(std::move(*payload));
    }
    return payloads;
}

void checkRequest(const std::string& payload) {
    const auto decoded = decodeRequest(payload);
    if (const auto* error = std::get_if<HelperMessageError>(&decoded)) {
        check(error->id == messageId(payload), "a refused request names the id messageId reads");
        return;
    }
    const auto& request = std::get<HelperRequest>(decoded);
    check(messageId(payload) == request.id, "messageId reads the id of a decoded request");
    // Everything decoded came from JSON, so it is finite and encodes.
    const auto again = decodeRequest(encodeRequest(request));
    check(std::holds_alternative<HelperRequest>(again) && std::get<HelperRequest>(again) == request,
          "a decoded request survives encoding and decoding");
}

void checkReply(const std::string& payload, HelperMethod method) {
    const auto decoded = decodeReply(payload, method);
    if (const auto* error = std::get_if<HelperMessageError>(&decoded)) {
        check(error->id == messageId(payload), "a refused reply names the id messageId reads");
        return;
    }
    const auto& reply = std::get<HelperReply>(decoded);
    const auto again = decodeReply(encodeReply(reply), method);
    check(std::holds_alternative<HelperReply>(again) && std::get<HelperReply>(again) == reply,
          "a decoded reply survives encoding and decoding");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::size_t chunk = data[0] % 16 + 1;
    const auto bytes = fuzz::text(data + 1, size - 1);

    FrameReader whole;
    whole.append(bytes);
    FrameReader pieces;
    std::vector<std::string> payloads;
    for (std::size_t at = 0; at < bytes.size(); at += chunk) {
        pieces.append(bytes.substr(at, chunk));
        for (auto& payload : drain(pieces)) {
            payloads.push_back(std::move(payload));
        }
    }
    check(drain(whole) == payloads, "chunking does not change the payloads");
    check(whole.failed() == pieces.failed(), "chunking does not change whether the stream fails");

    for (const auto& payload : payloads) {
        check(payload.size() <= HelperConstants::maxFrameBytes, "no payload exceeds the frame limit");
        FrameReader reframed;
        reframed.append(frameBytes(payload));
        check(reframed.next() == payload && !reframed.next(), "a payload reframes to itself");

        checkRequest(payload);
        for (const auto method : allCases<HelperMethod>()) {
            checkReply(payload, method);
        }
    }
    return 0;
}
