#pragma once

#include <cstdint>
#include <optional>

namespace halvoren {

// The type of a controller value, from its four-character type code. `other` keeps the
// raw code of a type the codec cannot convert.
class SMCDataType {
public:
    enum class Kind { fpe2, sp78, flt, ui8, ui16, ui32, flag, other };

    static constexpr std::uint32_t fpe2Code = 0x66706532; // "fpe2"
    static constexpr std::uint32_t sp78Code = 0x73703738; // "sp78"
    static constexpr std::uint32_t fltCode = 0x666C7420;  // "flt "
    static constexpr std::uint32_t ui8Code = 0x75693820;  // "ui8 "
    static constexpr std::uint32_t ui16Code = 0x75693136; // "ui16"
    static constexpr std::uint32_t ui32Code = 0x75693332; // "ui32"
    static constexpr std::uint32_t flagCode = 0x666C6167; // "flag"

    constexpr SMCDataType(Kind kind)
        : kind_(kind)
        , code_(codeOf(kind)) {} // NOLINT(google-explicit-constructor)

    // Compares against the seven known codes in declaration order; no match gives `other`.
    static constexpr SMCDataType fromRawType(std::uint32_t rawType) {
        for (const Kind k :
             {Kind::fpe2, Kind::sp78, Kind::flt, Kind::ui8, Kind::ui16, Kind::ui32, Kind::flag}) {
            if (codeOf(k) == rawType) {
                return SMCDataType{k};
            }
        }
        return other(rawType);
    }
    static constexpr SMCDataType other(std::uint32_t rawType) { return SMCDataType{Kind::other, rawType}; }

    constexpr Kind kind() const { return kind_; }
    // The wire code: the named type's code, or the kept raw code of `other`.
    constexpr std::uint32_t code() const { return code_; }
    // Bytes in one value of a named type; `other` has no known width.
    constexpr std::optional<int> byteCount() const {
        switch (kind_) {
        case Kind::ui8:
        case Kind::flag:
            return 1;
        case Kind::fpe2:
        case Kind::sp78:
        case Kind::ui16:
            return 2;
        case Kind::flt:
        case Kind::ui32:
            return 4;
        case Kind::other:
            return std::nullopt;
        }
        return std::nullopt;
    }

    // Same named case, or both `other` with the same code.
    friend constexpr bool operator==(const SMCDataType&, const SMCDataType&) = default;

private:
    constexpr SMCDataType(Kind kind, std::uint32_t code)
        : kind_(kind)
        , code_(code) {}

    static constexpr std::uint32_t codeOf(Kind kind) {
        switch (kind) {
        case Kind::fpe2:
            return fpe2Code;
        case Kind::sp78:
            return sp78Code;
        case Kind::flt:
            return fltCode;
        case Kind::ui8:
            return ui8Code;
        case Kind::ui16:
            return ui16Code;
        case Kind::ui32:
            return ui32Code;
        case Kind::flag:
            return flagCode;
        case Kind::other:
            return 0;
        }
        return 0;
    }

    Kind kind_;
    std::uint32_t code_;
};

} // namespace halvoren
