#include "Diagnostics.h"
#include "Files.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace kelm::tool
{

namespace
{

constexpr mode_t s_permissions = 07777;

// Where symbolic links lead; empty, with errno, where that is nowhere.
std::string RealPath(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), &std::free);
    return real != nullptr ? real.get() : std::string();
}

// --- Extended attributes, which access lists are too

// What a call gives that tells its size when asked with no room. Nothing, with errno, where it fails.
template <class Call>
std::optional<std::string> Sized(const Call& call)
{
    while (true)
    {
        const ssize_t size = call(nullptr, 0);
        if (size < 0)
            return std::nullopt;
        std::string value(static_cast<std::size_t>(size), '\0');
        const ssize_t got = size == 0 ? 0 : call(value.data(), value.size());
        if (got >= 0)
        {
            value.resize(static_cast<std::size_t>(got));
            return value;
        }
        if (errno != ERANGE) // it has grown in between
            return std::nullopt;
    }
}

std::optional<std::string> AttributeOf(int fd, const std::string& name)
{
    return Sized([&](char* value, std::size_t size) { return fgetxattr(fd, name.c_str(), value, size); });
}

// Nothing where they cannot be had; none where the file system has no attributes.
std::optional<std::vector<std::string>> AttributesOf(int fd)
{
    std::vector<std::string> names;
    const std::optional<std::string> list =
        Sized([&](char* value, std::size_t size) { return flistxattr(fd, value, size); });
    if (!list)
        return errno == ENOTSUP ? std::optional(names) : std::nullopt;
    for (std::size_t at = 0; at < list->size(); at += names.back().size() + 1)
        names.emplace_back(list->c_str() + at);
    return names;
}

bool CopyAttribute(int from, int to, const std::string& name)
{
    const std::optional<std::string> value = AttributeOf(from, name);
    return value &&
           (AttributeOf(to, name) == value || fsetxattr(to, name.c_str(), value->data(), value->size(), 0) == 0);
}

// Gives one file the attributes of another, and takes those that a folder gives to what is made in it.
bool CopyAttributes(int from, int to)
{
    const std::optional<std::vector<std::string>> wanted = AttributesOf(from);
    const std::optional<std::vector<std::string>> given = AttributesOf(to);
    return wanted && given &&
           std::all_of(given->begin(), given->end(),
                       [&](const std::string& name) {
                           return std::find(wanted->begin(), wanted->end(), name) != wanted->end() ||
                                  fremovexattr(to, name.c_str()) == 0;
                       }) &&
           std::all_of(wanted->begin(), wanted->end(),
                       [&](const std::string& name) { return CopyAttribute(from, to, name); });
}

// --- The replacement

// A file beside the one that it will replace; removed where it did not.
class Beside
{
public:
    explicit Beside(const std::string& target) : m_path(target + ".XXXXXX"), m_file(mkostemp(m_path.data(), O_CLOEXEC))
    {
    }
    ~Beside()
    {
        if (IsOpen() || m_isLeft)
            unlink(m_path.c_str());
    }
    Beside(const Beside&) = delete;
    Beside& operator=(const Beside&) = delete;

    bool IsOpen() const { return m_file.IsOpen(); }
    int get() const { return m_file.get(); }

    bool TakePlaceOf(const std::string& target)
    {
        m_isLeft = true;
        if (!m_file.Close() || std::rename(m_path.c_str(), target.c_str()) != 0)
            return false;
        m_isLeft = false;
        return true;
    }

private:
    std::string m_path;
    FileDescriptor m_file;
    bool m_isLeft = false;
};

// Why a file must not be replaced; empty where it may be.
std::string WhyNot(const std::string& target, const struct stat& status)
{
    if (!S_ISREG(status.st_mode))
        return "it is not a regular file";
    if (access(target.c_str(), W_OK) != 0)
        return ErrnoText();
    if (status.st_nlink > 1)
        return "it has further hard links, which would keep the old text";
    if ((status.st_mode & (S_ISUID | S_ISGID)) != 0)
        return "it has set-id bits";
    return {};
}

// The set-id bits aside, the permissions come last: a change of owner or access list changes them.
std::string FillLike(int original, const struct stat& status, std::string_view contents, int file)
{
    if (!WriteAll(file, contents))
        return ErrnoText();
    struct stat fresh = {};
    const bool isOwnerKept =
        fstat(file, &fresh) == 0 && ((fresh.st_uid == status.st_uid && fresh.st_gid == status.st_gid) ||
                                     fchown(file, status.st_uid, status.st_gid) == 0);
    if (!isOwnerKept)
        return "its owner and group cannot be kept: " + ErrnoText();
    if (!CopyAttributes(original, file))
        return "its extended attributes cannot be kept: " + ErrnoText();
    if (fchmod(file, status.st_mode & s_permissions) != 0)
        return "its permissions cannot be kept: " + ErrnoText();
    return fsync(file) == 0 ? "" : ErrnoText();
}

// The new name reaches the disk. Some file systems cannot be asked for that.
void SyncFolderOf(const std::string& target)
{
    const FileDescriptor folder(
        open(target.substr(0, target.rfind('/') + 1).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.IsOpen())
        static_cast<void>(fsync(folder.get()));
}

// Empty, or why it was not done.
std::string Replace(const std::string& path, std::string_view contents)
{
    const std::string target = RealPath(path);
    struct stat status = {};
    if (target.empty() || stat(target.c_str(), &status) != 0)
        return ErrnoText();
    if (std::string why = WhyNot(target, status); !why.empty())
        return why;
    const FileDescriptor original(open(target.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!original.IsOpen())
        return ErrnoText();
    Beside beside(target);
    if (!beside.IsOpen())
        return "no file can be made beside it: " + ErrnoText();
    if (std::string why = FillLike(original.get(), status, contents, beside.get()); !why.empty())
        return why;
    if (!beside.TakePlaceOf(target))
        return ErrnoText();
    SyncFolderOf(target);
    return {};
}

} // namespace

bool ReplaceFile(const std::string& path, std::string_view contents)
{
    const std::string why = Replace(path, contents);
    if (!why.empty())
        ReportError("cannot replace " + path + ": " + why);
    return why.empty();
}

} // namespace kelm::tool
