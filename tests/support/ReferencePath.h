#pragma once

// The walk along a field path as its rules say it, over the reference's own tokens. Descriptions, registries, handles
// and the read barrier are the library's.

#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectionByteCode.h>
#include <support/ReferenceTokens.h>

#include <limits>

namespace kelm::reference
{

class PathWalk
{
public:
    PathWalk(Stream& stream, bool isReadAccess, ssize_t growthLimit = std::numeric_limits<ssize_t>::max())
        : m_stream(stream), m_isReadAccess(isReadAccess), m_growthLimit(growthLimit)
    {
    }

    // Throws TextError and KelmAssertionError; NotForComparison where an array would grow beyond all measure.
    void Walk(ptr<IObject> object);

    ptr<IObject> m_object;
    ReflectionByteCode m_rbc;
    char* m_data = nullptr;

private:
    void WalkInstance(const ReflectedClass& rc);
    void WalkVariable();
    void StepIntoArray(const ReflectionByteCode& type);
    void StepIntoDynArray(const ReflectionByteCode& type);
    void StepIntoVector(const ReflectionByteCode& type);
    void StepThroughHandle(const ReflectionByteCode& type, ptr<IObject> target);

    Stream& m_stream;
    const bool m_isReadAccess;
    const ssize_t m_growthLimit;
};

} // namespace kelm::reference
