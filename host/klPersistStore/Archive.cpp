#include <klPersistStore/Archive.h>

#include <klPersistStore/private/XTarget.h>
#include <klUtils/MessageOf.h>

#include <bit>
#include <cstring>

namespace kelm
{

namespace
{

static_assert(std::endian::native == std::endian::little, "numbers are written as they lie in memory");

[[noreturn]] void ThrowTruncated(ssize_t needed, ssize_t left)
{
    throw ArchiveException(MessageOf("Expected ", needed, " bytes in archive when ", left, " are left"));
}

[[noreturn]] void ThrowUnknownRelease(RSN rsn, const dsTarget& target)
{
    throw ArchiveException(MessageOf("Release number ", rsn, " is none of the ", target.m_numReleases,
                                     " releases of target ", target.m_targetName));
}

} // namespace

ArchiveException::~ArchiveException() = default;

void Archive::WriteInt64(int64 value)
{
    m_bytes.insertbytes(m_bytes.size(), &value, sizeof value);
}

int64 InputArchive::ReadInt64()
{
    int64 value;
    constexpr ssize_t size = sizeof value;
    if (GetNumBytesLeft() < size)
        ThrowTruncated(size, GetNumBytesLeft());
    std::memcpy(&value, m_p, size);
    m_p += size;
    return value;
}

void WriteDataSourceRsn(Archive& archive, RSN rsn)
{
    archive.WriteInt64(rsn);
}

InputArchive ReadDataSourceRsn(InputArchive archive, XTarget* target)
{
    const RSN rsn = archive.ReadInt64();
    if (target != nullptr)
    {
        if (rsn < 0 || rsn >= target->m_description.m_numReleases)
            ThrowUnknownRelease(rsn, target->m_description);
        target->m_dataSourceRsn = rsn;
    }
    return archive;
}

RSN GetDataSourceRsn(XTarget* target)
{
    return target != nullptr ? target->m_dataSourceRsn.load() : -1;
}

} // namespace kelm
