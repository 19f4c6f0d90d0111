#include "core/frame_codec.h"

#include "core/helper_constants.h"
#include "core/json_support.h"

#include <algorithm>

namespace halvoren {

std::string frameBytes(std::string_view json) {
    if (json.size() > HelperConstants::maxFrameBytes) {
        throw EncodeError("a frame of " + std::to_string(json.size()) + " bytes exceeds the limit of " +
                          std::to_string(HelperConstants::maxFrameBytes));
    }
    const auto length = static_cast<std::uint32_t>(json.size());
    std::string frame;
    frame.reserve(4 + json.size());
    for (const int shift : {24, 16, 8, 0}) {
        frame.push_back(static_cast<char>((length >> shift) & 0xFFu));
    }
    frame.append(json);
    return frame;
}

void FrameReader::append(std::string_view bytes) {
    while (!bytes.empty() && !failed()) {
        if (!inPayload_) {
            // The prefix is shifted in byte by byte: no buffer, so no index to get wrong.
            length_ = (length_ << 8) | static_cast<unsigned char>(bytes.front());
            bytes.remove_prefix(1);
            if (++headerFill_ == headerBytes) {
                finishHeader();
            }
        } else {
            const auto take = std::min(expected_ - payload_.size(), bytes.size());
            payload_.append(bytes.substr(0, take));
            bytes.remove_prefix(take);
            if (payload_.size() == expected_) {
                ready_.push_back(std::move(payload_));
                payload_.clear();
                inPayload_ = false;
            }
        }
    }
}

void FrameReader::finishHeader() {
    const std::uint32_t length = length_;
    headerFill_ = 0;
    length_ = 0;
    if (length > HelperConstants::maxFrameBytes) {
        error_ = "declared frame length " + std::to_string(length) + " exceeds the limit of " +
                 std::to_string(HelperConstants::maxFrameBytes);
        payload_.clear();
        payload_.shrink_to_fit();
        return;
    }
    if (length == 0) {
        ready_.emplace_back(); // complete already; no payload byte will follow
        return;
    }
    expected_ = length;
    payload_.clear();
    payload_.reserve(length);
    inPayload_ = true;
}

std::optional<std::string> FrameReader::next() {
    if (ready_.empty()) {
        return std::nullopt;
    }
    auto payload = std::move(ready_.front());
    ready_.pop_front();
    return payload;
}

} // namespace halvoren
