#pragma once

#include <kelm/api.h>

#include <cstddef>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace kelm
{

// Owns an open file.
class FileDescriptor
{
public:
    explicit FileDescriptor(int fd = -1) : m_fd(fd) {}
    ~FileDescriptor() { Close(); }
    FileDescriptor(FileDescriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(m_fd, other.m_fd);
        return *this;
    }

    int get() const { return m_fd; }
    bool IsOpen() const { return m_fd >= 0; }
    bool Close()
    {
        const int fd = std::exchange(m_fd, -1);
        return fd < 0 || close(fd) == 0;
    }

private:
    int m_fd;
};

// As read(2), past interruptions, and with patience where the file does not wait by itself.
KELM_API ssize_t ReadSome(int fd, char* buffer, std::size_t size);

// Writes all of a text; false, with errno, where it cannot be done.
KELM_API bool WriteAll(int fd, std::string_view text);

} // namespace kelm
