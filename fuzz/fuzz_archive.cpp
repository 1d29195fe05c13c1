// Any bytes are numbers, and an error where they end; what is written reads back.

#include <klPersistStore/Archive.h>
#include <klPersistStore/Target.h>

#include <cstdlib>
#include <cstring>

using namespace kelm;

namespace
{

void Require(bool holds)
{
    if (!holds)
        std::abort();
}

XTarget* GetTarget()
{
    static constexpr dsTargetRelease0 releases[] = {{"Release 0.0", {2008, 8, 24}}, {"Release 1.0", {2009, 1, 1}}};
    static constexpr dsTarget target = {"sample/target", 0, nullptr, 2, releases};
    static XTarget* const s_target = RegisterTarget(target);
    return s_target;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const char* const begin = reinterpret_cast<const char*>(data);
    InputArchive in(begin, begin + size);
    Archive out;
    while (in.GetNumBytesLeft() >= 8)
    {
        const int64 value = in.ReadInt64();
        out.WriteInt64(value);
        const InputArchive one(begin + (size - static_cast<std::size_t>(in.GetNumBytesLeft())) - 8, begin + size);
        try
        {
            const InputArchive rest = ReadDataSourceRsn(one, GetTarget());
            Require((value == 0 || value == 1) && GetDataSourceRsn(GetTarget()) == value);
            Require(rest.GetNumBytesLeft() == in.GetNumBytesLeft());
        }
        catch (const ArchiveException&)
        {
            Require(value < 0 || value > 1);
        }
    }
    const ssize_t left = in.GetNumBytesLeft();
    try
    {
        in.ReadInt64();
        std::abort();
    }
    catch (const ArchiveException&)
    {
        Require(in.GetNumBytesLeft() == left);
    }
    const VectorOfByte& bytes = out.GetBytes();
    Require(bytes.size() == static_cast<ssize_t>(size) - left);
    Require(bytes.empty() || std::memcmp(bytes.data(), begin, static_cast<std::size_t>(bytes.size())) == 0);
    return 0;
}
