#pragma once

// What stays of a document that has been laid out: its pieces, and what it reads as.

#include <kelm/private/errors/Source.h>
#include <kelmDocument/Part.h>
#include <klKelmScript/ParseDataSource.h>
#include <klObject/values/WriteVariable.h>
#include <klUtils/text/ExpressionParser.h>
#include <klUtils/xostream.h>

#include <cstddef>
#include <exception>
#include <string>
#include <string_view>

namespace kelm
{

// All but white space, each with its kind.
inline std::string PiecesOf(std::string_view text)
{
    std::string pieces;
    for (std::size_t at = 0; at < text.size();)
    {
        const Part part = ScanPart(text, at);
        if (part.m_kind != PartKind::Space)
            ((pieces += std::to_string(part.m_token)) += part.m_span.In(text)) += "\n\n\n";
        at = part.m_span.m_end;
    }
    return pieces;
}

// What a text reads as; nothing where it is no data source, or something stands behind it.
inline std::string WhatItReadsAs(std::string_view text)
{
    text = WithoutByteOrderMark(text);
    try
    {
        ExpressionParser parser;
        parser.Init({text.data(), text.data() + text.size()});
        const ptr<IObject> object = ParseDataSource(parser);
        if (parser.m_token.m_type != TOKEN_END)
            return {};
        if (!object)
            return "null";
        StringStream stream(4096);
        WriteObject(stream, object);
        return std::string(stream.GetString().view());
    }
    catch (const std::exception&)
    {
        return {};
    }
}

} // namespace kelm
