#include "core/fan_key.h"

#include <cstdio>
#include <cstdlib>

namespace halvoren::FanKey {
namespace {

std::string spelled(int i, std::string_view suffix) {
    if (i < 0 || i > 9) {
        std::fprintf(stderr, "fatal: fan index %d is outside 0...9\n", i);
        std::abort();
    }
    std::string key = "F";
    key += static_cast<char>('0' + i);
    key += suffix;
    return key;
}

} // namespace

std::string current(int i) {
    return spelled(i, "Ac");
}
std::string minimum(int i) {
    return spelled(i, "Mn");
}
std::string maximum(int i) {
    return spelled(i, "Mx");
}
std::string target(int i) {
    return spelled(i, "Tg");
}
std::string mode(int i) {
    return spelled(i, "Md");
}

} // namespace halvoren::FanKey
