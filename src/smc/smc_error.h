#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <string>

namespace halvoren {

// Failures of the controller exchange. The cases carry no prose of their own: their
// text is the case name with its payload, e.g. keyNotFound("TC0P") or callFailed(-536870212).
class SMCError : public std::exception {
public:
    enum class Kind { openFailed, callFailed, keyNotFound, notReadable, notWritable, smcResult, codec, serviceNotFound };

    static SMCError openFailed(std::int32_t code) { return SMCError{Kind::openFailed, code, {}}; }
    static SMCError callFailed(std::int32_t code) { return SMCError{Kind::callFailed, code, {}}; }
    static SMCError keyNotFound(std::string key) { return SMCError{Kind::keyNotFound, 0, std::move(key)}; }
    static SMCError notReadable(std::string key) { return SMCError{Kind::notReadable, 0, std::move(key)}; }
    static SMCError notWritable(std::string key) { return SMCError{Kind::notWritable, 0, std::move(key)}; }
    static SMCError smcResult(std::uint8_t result) { return SMCError{Kind::smcResult, result, {}}; }
    static SMCError codec(std::string message) { return SMCError{Kind::codec, 0, std::move(message)}; }
    static SMCError serviceNotFound() { return SMCError{Kind::serviceNotFound, 0, {}}; }

    Kind kind() const { return kind_; }
    // The kernel return code of openFailed/callFailed, or the result byte of smcResult.
    std::int32_t code() const { return code_; }
    // The key of keyNotFound/notReadable/notWritable, or the message of codec.
    const std::string& text() const { return text_; }

    std::string description() const;
    const char* what() const noexcept override { return description_.c_str(); }

    friend bool operator==(const SMCError& a, const SMCError& b) {
        return a.kind_ == b.kind_ && a.code_ == b.code_ && a.text_ == b.text_;
    }

private:
    SMCError(Kind kind, std::int32_t code, std::string text);

    Kind kind_;
    std::int32_t code_;
    std::string text_;
    std::string description_;
};

// The error for a non-zero result byte, or none for success.
std::optional<SMCError> mapResult(std::uint8_t result, const std::string& key);

} // namespace halvoren
