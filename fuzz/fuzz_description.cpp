// Any byte code is a type, or fails an assertion; of a type there are variables, which can be looked at, copied as text
// and destroyed.

#include "Sample.h"

#include <klObject/values/ReflectedVariable.h>
#include <klObject/values/WriteVariable.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

using namespace kelm;

namespace
{

// Every index has a name: some of types that there are, others of none.
const std::vector<ConstStringZ>& GetNames()
{
    static const std::vector<ConstStringZ> s_names = []
    {
        constexpr ConstStringZ names[] = {"sample::Node",  "sample::Point",        "sample::Colour", "kelm::xstring",
                                          "kelm::KSValue", "kelm::ReflectedValue", "sample::None"};
        std::vector<ConstStringZ> all(65536);
        for (std::size_t i = 0; i < all.size(); ++i)
            all[i] = names[i % std::size(names)];
        return all;
    }();
    return s_names;
}

struct Counter final : IObjectVisitor
{
    void Visit(const ptr<IObject>&) override { ++m_count; }
    int m_count = 0;
};

void UseType(const ReflectionByteCode& type)
{
    ReflectionByteCode behind = type;
    behind.ScanType();
    const ssize_t size = type.GetTypeSize();
    constexpr ssize_t maxSize = 1 << 16;
    if (size > maxSize)
        return;
    std::vector<std::max_align_t> room(static_cast<std::size_t>(size) / sizeof(std::max_align_t) + 1);
    void* const p = room.data();
    ConstructReflectedVariable(type, p);
    struct Guard
    {
        ~Guard()
        {
            try
            {
                DestructReflectedVariable(m_type, m_p);
            }
            catch (const KelmAssertionError&)
            {
                // An empty list of what is described nowhere, of which only its end asks what it is.
            }
        }
        ReflectionByteCode m_type;
        void* m_p;
    } guard{type, p};
    Counter counter;
    VisitObjectsInReflectedVariable(type, p, counter);
    if (counter.m_count != 0)
        std::abort(); // a new variable holds no object
    if (CompareLtReflectedVariable(type, p, type, p))
        std::abort();
    StringStream os(4096);
    WriteVariable(os, type, p);
}

} // namespace

namespace
{

// An array of voids takes no room however many they are, and time and text for each.
bool HasFewElements(const std::vector<uint8>& bytes)
{
    double count = 1;
    for (std::size_t i = 0; i + 4 < bytes.size(); ++i)
        if (bytes[i] == FT_ARRAY)
        {
            int32 ofArray = 0;
            std::memcpy(&ofArray, &bytes[i + 1], sizeof ofArray);
            count *= std::max(1, ofArray);
        }
    return count < 1 << 20;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    sample::RegisterOnce();
    for (std::size_t i = 0; i < size; ++i)
        if (data[i] == FT_FOREIGN)
            return 0; // names a record of the compiler's by its address
    // Byte code ends where its type does: behind the input stand as many voids as can be missing.
    std::vector<uint8> bytes(data, data + size);
    bytes.resize(2 * size + 64);
    if (!HasFewElements(bytes))
        return 0;
    try
    {
        UseType({bytes.data(), GetNames().data()});
    }
    catch (const KelmAssertionError&)
    {
    }
    catch (const WriteException&)
    {
    }
    return 0;
}
