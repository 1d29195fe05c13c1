#pragma once

// Archives: bytes out and in. A release number is written as 8 bytes, little-endian, two's complement.

#include <klPersistStore/Target.h>
#include <klPersistStore/api.h>
#include <klUtils/MessageException.h>
#include <klUtils/types.h>
#include <klUtils/xvector.h>

namespace kelm
{

// An archive that cannot be read. The message says what was wanted and how much was there.
class KLPERSISTSTORE_API ArchiveException : public MessageException
{
public:
    using MessageException::MessageException;
    ~ArchiveException() override;
};

// An output archive: owns the bytes written so far.
class KLPERSISTSTORE_API Archive
{
public:
    void WriteInt64(int64 value);
    const VectorOfByte& GetBytes() const { return m_bytes; }

private:
    VectorOfByte m_bytes;
};

// A position in somebody else's bytes, copied by value.
class KLPERSISTSTORE_API InputArchive
{
public:
    InputArchive(const char* begin, const char* end) : m_p(begin), m_end(end) {}

    int64 ReadInt64(); // throws ArchiveException where fewer than 8 bytes are left; the position stays then
    ssize_t GetNumBytesLeft() const { return m_end - m_p; }

private:
    const char* m_p;
    const char* m_end;
};

KLPERSISTSTORE_API void WriteDataSourceRsn(Archive& archive, RSN rsn);

// Reads a release number for a target, remembers it as the release that the target's data was written with, and returns
// the archive behind it. Throws ArchiveException where it is truncated, and where the number is none of the target's
// releases (a null target accepts any and remembers none).
KLPERSISTSTORE_API InputArchive ReadDataSourceRsn(InputArchive archive, XTarget* target);

// The release number that ReadDataSourceRsn last read for a target; -1 before.
KLPERSISTSTORE_API RSN GetDataSourceRsn(XTarget* target);

} // namespace kelm
