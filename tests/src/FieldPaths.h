#pragma once

// Walking paths in tests.

#include <klKelmScript/ParseFieldPath.h>
#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectionByteCode.h>
#include <support/Expect.h>

#include <string>

namespace kelm
{

// Where a walk of the parser form ended.
struct Reached
{
    void* m_address;
    ReflectionByteCode m_type;
    std::string m_rest; // of the text, from the parser's current token
};

inline Reached Walk(ptr<IObject> object, const std::string& path, bool writeAccess = false)
{
    Reached reached{};
    ExpressionParser parser;
    parser.Init(ViewOf(path));
    reached.m_address = NavigatePathToField(object, parser, reached.m_type, writeAccess);
    reached.m_rest = ToStdString({parser.m_token.m_str.m_p1, ViewOf(path).m_p2});
    return reached;
}

} // namespace kelm
