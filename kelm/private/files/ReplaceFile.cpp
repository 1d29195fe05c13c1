#include <kelm/private/files/FileDescriptor.h>
#include <kelm/private/files/FileText.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace kelm
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

std::string FolderOf(const std::string& path)
{
    const std::size_t separator = path.rfind('/');
    return separator == std::string::npos ? "." : path.substr(0, separator + 1);
}

// A file beside the one that it will replace; removed where it did not.
class Beside
{
public:
    // Nobody else may look into it. Where the file system can, it has no name until it is whole, so that whoever kills
    // the process leaves nothing behind.
    static Beside MakeSecret(const std::string& target)
    {
        if (access(s_openFiles, X_OK) == 0)
            if (const int file = open(FolderOf(target).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600); file >= 0)
                return Beside(target, file, true);
        std::string path = target + ".XXXXXX";
        const int file = mkostemp(path.data(), O_CLOEXEC);
        return Beside(std::move(path), file);
    }

    // With the permissions that new files have here.
    static Beside MakeOrdinary(const std::string& target)
    {
        while (true)
        {
            std::string path = NewName(target);
            const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (file >= 0 || errno != EEXIST)
                return Beside(std::move(path), file);
        }
    }

    ~Beside()
    {
        if ((IsOpen() || m_isLeft) && !m_isUnnamed)
            unlink(m_path.c_str());
    }
    Beside(const Beside&) = delete;
    Beside& operator=(const Beside&) = delete;

    bool IsOpen() const { return m_file.IsOpen(); }
    int get() const { return m_file.get(); }

    bool TakePlaceOf(const std::string& target)
    {
        if (m_isUnnamed && !TakeName())
            return false;
        m_isLeft = true;
        if (!m_file.Close() || std::rename(m_path.c_str(), target.c_str()) != 0)
            return false;
        m_isLeft = false;
        return true;
    }

private:
    static constexpr const char* s_openFiles = "/proc/self/fd";

    Beside(std::string path, int file, bool isUnnamed = false)
        : m_path(std::move(path)), m_file(file), m_isUnnamed(isUnnamed)
    {
    }

    bool TakeName()
    {
        const std::string unnamed = std::string(s_openFiles) + "/" + std::to_string(get());
        const std::string target = std::move(m_path);
        while (m_isUnnamed)
        {
            m_path = NewName(target);
            m_isUnnamed = linkat(AT_FDCWD, unnamed.c_str(), AT_FDCWD, m_path.c_str(), AT_SYMLINK_FOLLOW) != 0;
            if (m_isUnnamed && errno != EEXIST)
                return false;
        }
        return true;
    }

    static std::string NewName(const std::string& target)
    {
        static std::atomic<unsigned> s_number = 0;
        return target + "." + std::to_string(getpid()) + "-" + std::to_string(s_number++);
    }

    std::string m_path; // of an unnamed one that of what it will replace
    FileDescriptor m_file;
    bool m_isUnnamed;
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

// Empty, or why it was not done. The new name reaches the disk, too, where the file system can be asked for that. What
// takes memory comes before: there is none to fail for once the file is another one.
std::string TakePlace(Beside& beside, const std::string& target)
{
    const FileDescriptor folder(open(FolderOf(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!beside.TakePlaceOf(target))
        return ErrnoText();
    if (folder.IsOpen())
        static_cast<void>(fsync(folder.get()));
    return {};
}

std::string MakeFile(const std::string& path, std::string_view contents)
{
    Beside beside = Beside::MakeOrdinary(path);
    if (!beside.IsOpen() || !WriteAll(beside.get(), contents) || fsync(beside.get()) != 0)
        return ErrnoText();
    return TakePlace(beside, path);
}

} // namespace

std::string ReplaceFile(const std::string& path, std::string_view contents)
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
    Beside beside = Beside::MakeSecret(target);
    if (!beside.IsOpen())
        return "no file can be made beside it: " + ErrnoText();
    if (std::string why = FillLike(original.get(), status, contents, beside.get()); !why.empty())
        return why;
    return TakePlace(beside, target);
}

std::string MakeOrReplaceFile(const std::string& path, std::string_view contents)
{
    struct stat status = {};
    const bool isNew = lstat(path.c_str(), &status) != 0 && errno == ENOENT;
    return isNew ? MakeFile(path, contents) : ReplaceFile(path, contents);
}

} // namespace kelm
