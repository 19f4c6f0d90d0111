#include "helper/linux/sysfs_attribute.h"

#include "helper/fan_writer.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <system_error>
#include <sys/stat.h>
#include <unistd.h>

namespace halvoren::SysfsAttribute {

void write(const std::filesystem::path& file, long long value) {
    const std::string text = std::to_string(value) + "\n";
    int fd = -1;
    do {
        fd = ::open(file.c_str(), O_WRONLY | O_CLOEXEC | O_TRUNC);
    } while (fd < 0 && errno == EINTR);
    long written = -1;
    int error = errno;
    if (fd >= 0) {
        do {
            written = ::write(fd, text.data(), text.size());
        } while (written < 0 && errno == EINTR);
        error = errno;
        // A driver may refuse the value only when the file is closed.
        if (::close(fd) < 0 && written >= 0) {
            written = -1;
            error = errno;
        }
    }
    if (written != static_cast<long>(text.size())) {
        throw FanWriteError("cannot write " + std::to_string(value) + " to " + file.string() + ": " +
                            (written < 0 ? std::generic_category().message(error) : "short write"));
    }
}

bool isWritable(const std::filesystem::path& file) {
    struct stat info {};
    return ::stat(file.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
           (info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0 && ::access(file.c_str(), W_OK) == 0;
}

} // namespace halvoren::SysfsAttribute
