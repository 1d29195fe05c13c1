#pragma once

// What the library's readings come to, told as the reference tells its own.

#include <klUtils/LexScannerException.h>
#include <klUtils/text/ParserBase.h>
#include <support/Expect.h>
#include <support/ReferenceComparison.h>

#include <string>

namespace kelm::reference
{

inline std::size_t PlaceIn(SubString text, const char* p)
{
    return static_cast<std::size_t>(p - text.m_p1);
}

inline std::string ToldError(const LexScannerException& e, SubString text)
{
    return ToldError(TextError{ToStdString(e.m_description), PlaceIn(text, e.m_pos)}) +
           (e.m_lineNumber == -1 && e.m_filename.empty() ? "" : " with a line or a file");
}

inline std::string ToldToken(const LSToken& token, SubString text)
{
    return ToldToken(token.m_type, PlaceIn(text, token.m_str.m_p1), PlaceIn(text, token.m_str.m_p2));
}

inline std::string ToldState(const ParserBase& parser, SubString text)
{
    return " at " + ToldToken(parser.m_token, text) + " behind " + ToldToken(parser.m_prevToken, text) + " rest " +
           Told(PlaceIn(text, parser.m_str.m_p1)) + (parser.m_str.m_p2 == text.m_p2 ? "" : " with another end");
}

} // namespace kelm::reference
