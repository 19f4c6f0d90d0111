#pragma once

#include "core/json_value.h"

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace halvoren {

// A 128-bit universally unique identifier. Random ones are version 4; text is the
// canonical 8-4-4-4-12 form, printed in upper case and parsed in either case.
class Uuid {
public:
    constexpr Uuid() = default;
    constexpr explicit Uuid(const std::array<std::uint8_t, 16>& bytes)
        : bytes_(bytes) {}

    static Uuid random();
    static std::optional<Uuid> parse(std::string_view text);
    // For identities fixed at compile time; aborts on malformed text.
    static Uuid fromLiteral(std::string_view text);

    std::string toString() const;
    const std::array<std::uint8_t, 16>& bytes() const { return bytes_; }
    bool isNil() const;

    friend bool operator==(const Uuid&, const Uuid&) = default;
    friend auto operator<=>(const Uuid&, const Uuid&) = default;

private:
    std::array<std::uint8_t, 16> bytes_{};
};

void to_json(Json& j, const Uuid& uuid);
void from_json(const Json& j, Uuid& uuid);

} // namespace halvoren

template <>
struct std::hash<halvoren::Uuid> {
    std::size_t operator()(const halvoren::Uuid& uuid) const noexcept;
};
