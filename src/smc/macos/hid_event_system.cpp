// Temperatures of the HID event system: die, storage and battery sensors that the
// controller does not list. The client functions are private to the platform and are
// bound by name; a missing client simply yields nothing.
#include "smc/hid_sensor_source.h"

#include <CoreFoundation/CoreFoundation.h>
#include <memory>

// Declared here rather than taken from the SDK headers, whose signatures vary by release.
extern "C" {
using IOHIDEventSystemClientRef = struct __IOHIDEventSystemClient*;
using IOHIDEventRef = struct __IOHIDEvent*;
using IOHIDServiceClientRef = struct __IOHIDServiceClient*;
IOHIDEventSystemClientRef IOHIDEventSystemClientCreate(CFAllocatorRef allocator);
void IOHIDEventSystemClientSetMatching(IOHIDEventSystemClientRef client, CFDictionaryRef matching);
CFArrayRef IOHIDEventSystemClientCopyServices(IOHIDEventSystemClientRef client);
CFTypeRef IOHIDServiceClientCopyProperty(IOHIDServiceClientRef service, CFStringRef property);
IOHIDEventRef IOHIDServiceClientCopyEvent(IOHIDServiceClientRef service, int64_t type, int32_t options,
                                          int64_t timestamp);
double IOHIDEventGetFloatValue(IOHIDEventRef event, int32_t field);
}

namespace halvoren {
namespace {

constexpr int primaryUsagePage = 0xFF00;
constexpr int primaryUsage = 5;
constexpr int64_t temperatureEventType = 15;
constexpr int32_t temperatureField = temperatureEventType << 16;

struct CFReleaser {
    void operator()(CFTypeRef ref) const {
        if (ref != nullptr) {
            CFRelease(ref);
        }
    }
};
using CFHolder = std::unique_ptr<const void, CFReleaser>;

std::string text(CFStringRef string) {
    const CFIndex length = CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingUTF8) + 1;
    std::string buffer(static_cast<std::size_t>(length), '\0');
    if (!CFStringGetCString(string, buffer.data(), length, kCFStringEncodingUTF8)) {
        return {};
    }
    buffer.resize(std::char_traits<char>::length(buffer.c_str()));
    return buffer;
}

// Owns the client for the life of the backend; the client may be null for ever.
class EventSystem {
public:
    EventSystem()
        : client_(IOHIDEventSystemClientCreate(kCFAllocatorDefault)) {
        if (client_ == nullptr) {
            return;
        }
        const int page = primaryUsagePage;
        const int usage = primaryUsage;
        CFHolder pageNumber(CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &page));
        CFHolder usageNumber(CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &usage));
        const void* keys[] = {CFSTR("PrimaryUsagePage"), CFSTR("PrimaryUsage")};
        const void* values[] = {pageNumber.get(), usageNumber.get()};
        CFHolder matching(CFDictionaryCreate(kCFAllocatorDefault, keys, values, 2, &kCFTypeDictionaryKeyCallBacks,
                                             &kCFTypeDictionaryValueCallBacks));
        IOHIDEventSystemClientSetMatching(client_, static_cast<CFDictionaryRef>(matching.get()));
    }
    ~EventSystem() {
        if (client_ != nullptr) {
            CFRelease(client_);
        }
    }
    EventSystem(const EventSystem&) = delete;
    EventSystem& operator=(const EventSystem&) = delete;

    std::vector<std::pair<std::string, double>> read() const {
        std::vector<std::pair<std::string, double>> readings;
        if (client_ == nullptr) {
            return readings;
        }
        CFHolder services(IOHIDEventSystemClientCopyServices(client_));
        if (!services || CFGetTypeID(services.get()) != CFArrayGetTypeID()) {
            return readings;
        }
        const auto array = static_cast<CFArrayRef>(services.get());
        for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
            auto* service = static_cast<IOHIDServiceClientRef>(const_cast<void*>(CFArrayGetValueAtIndex(array, i)));
            CFHolder product(IOHIDServiceClientCopyProperty(service, CFSTR("Product")));
            if (!product || CFGetTypeID(product.get()) != CFStringGetTypeID()) {
                continue;
            }
            CFHolder event(IOHIDServiceClientCopyEvent(service, temperatureEventType, 0, 0));
            if (!event) {
                continue;
            }
            const double celsius =
                IOHIDEventGetFloatValue(static_cast<IOHIDEventRef>(const_cast<void*>(event.get())), temperatureField);
            readings.emplace_back(text(static_cast<CFStringRef>(product.get())), celsius);
        }
        return readings;
    }

private:
    IOHIDEventSystemClientRef client_;
};

} // namespace

HIDSensorSource::Backend platformHIDBackend() {
    auto system = std::make_shared<EventSystem>();
    return [system] { return system->read(); };
}

} // namespace halvoren
