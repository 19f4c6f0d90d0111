#pragma once

#include <exception>
#include <string>

namespace halvoren {

// Why the controller value codec could not convert. The three cases carry no text of
// their own: description() and what() give the default textual form of the case with its
// payload, e.g. `sizeMismatch(expected: 2, got: 1)`, which later layers put into messages.
class SMCCodecError : public std::exception {
public:
    enum class Kind { sizeMismatch, unsupportedType, valueOutOfRange };

    // The bytes were too few for the type.
    static SMCCodecError sizeMismatch(int expected, int got);
    // The type was `other`; `type` is the text of its code.
    static SMCCodecError unsupportedType(std::string type);
    // The value cannot be represented; it is carried as given.
    static SMCCodecError valueOutOfRange(double value);

    Kind kind() const { return kind_; }
    // Payloads; each reads zero or empty outside its own case.
    int expected() const { return expected_; }
    int got() const { return got_; }
    const std::string& type() const { return type_; }
    double value() const { return value_; }

    std::string description() const { return text_; }
    const char* what() const noexcept override { return text_.c_str(); }

    // Same case with equal payloads; a NaN value is unequal to itself, as Doubles compare.
    friend bool operator==(const SMCCodecError& a, const SMCCodecError& b);

private:
    explicit SMCCodecError(Kind kind)
        : kind_(kind) {}

    Kind kind_;
    int expected_ = 0;
    int got_ = 0;
    std::string type_;
    double value_ = 0.0;
    std::string text_;
};

} // namespace halvoren
