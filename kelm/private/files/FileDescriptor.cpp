#include <kelm/private/files/FileDescriptor.h>

#include <cerrno>

#include <poll.h>

namespace kelm
{

namespace
{

// Whether the operation that has just failed may be tried again.
bool WaitsFor(int fd, short event)
{
    if (errno == EINTR)
        return true;
    if (errno != EAGAIN)
        return false;
    pollfd file = {fd, event, 0};
    return poll(&file, 1, -1) > 0 || errno == EINTR;
}

} // namespace

ssize_t ReadSome(int fd, char* buffer, std::size_t size)
{
    while (true)
        if (const ssize_t count = read(fd, buffer, size); count >= 0 || !WaitsFor(fd, POLLIN))
            return count;
}

bool WriteAll(int fd, std::string_view text)
{
    while (!text.empty())
        if (const ssize_t count = write(fd, text.data(), text.size()); count >= 0)
            text.remove_prefix(static_cast<std::size_t>(count));
        else if (!WaitsFor(fd, POLLOUT))
            return false;
    return true;
}

} // namespace kelm
