#include "core/uuid.h"

#include "core/hex_digit.h"
#include "core/json_support.h"

#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <random>

namespace halvoren {
namespace {

bool isDashPosition(std::size_t i) {
    return i == 8 || i == 13 || i == 18 || i == 23;
}

} // namespace

Uuid Uuid::random() {
    // One generator per thread, seeded once from the system's entropy source.
    thread_local std::mt19937_64 engine{[] {
        std::random_device device;
        std::seed_seq seed{device(), device(), device(), device(), device(), device(), device(), device()};
        return std::mt19937_64{seed};
    }()};
    std::array<std::uint8_t, 16> bytes{};
    for (std::size_t i = 0; i < bytes.size(); i += 8) {
        const std::uint64_t word = engine();
        for (std::size_t b = 0; b < 8; ++b) {
            bytes[i + b] = static_cast<std::uint8_t>(word >> (8 * b));
        }
    }
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40); // version 4
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80); // RFC 4122 variant
    return Uuid{bytes};
}

std::optional<Uuid> Uuid::parse(std::string_view text) {
    if (text.size() != 36) {
        return std::nullopt;
    }
    std::array<std::uint8_t, 16> bytes{};
    std::size_t out = 0;
    for (std::size_t i = 0; i < text.size();) {
        if (isDashPosition(i)) {
            if (text[i] != '-') {
                return std::nullopt;
            }
            ++i;
            continue;
        }
        const int hi = hexDigitValue(text[i]);
        const int lo = hexDigitValue(text[i + 1]);
        if (hi < 0 || lo < 0 || isDashPosition(i + 1)) {
            return std::nullopt;
        }
        bytes[out++] = static_cast<std::uint8_t>((hi << 4) | lo);
        i += 2;
    }
    return Uuid{bytes};
}

Uuid Uuid::fromLiteral(std::string_view text) {
    const auto parsed = parse(text);
    if (!parsed) {
        std::fprintf(stderr, "fatal: malformed UUID literal\n");
        std::abort();
    }
    return *parsed;
}

std::string Uuid::toString() const {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(36);
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            text.push_back('-');
        }
        text.push_back(digits[bytes_[i] >> 4]);
        text.push_back(digits[bytes_[i] & 0x0F]);
    }
    return text;
}

bool Uuid::isNil() const {
    for (const auto b : bytes_) {
        if (b != 0) {
            return false;
        }
    }
    return true;
}

void to_json(Json& j, const Uuid& uuid) {
    j = uuid.toString();
}

void from_json(const Json& j, Uuid& uuid) {
    if (!j.is_string()) {
        throw DecodeError("expected a UUID string");
    }
    const auto parsed = Uuid::parse(j.get_ref<const std::string&>());
    if (!parsed) {
        throw DecodeError("malformed UUID string");
    }
    uuid = *parsed;
}

} // namespace halvoren

std::size_t std::hash<halvoren::Uuid>::operator()(const halvoren::Uuid& uuid) const noexcept {
    // FNV-1a over the 16 bytes.
    std::size_t h = 1469598103934665603ULL;
    for (const auto b : uuid.bytes()) {
        h = (h ^ b) * 1099511628211ULL;
    }
    return h;
}
