#include <kelmDocument/private/Version.h>

#include <klObject/types/ForeignType.h>

namespace kelm::editing
{

std::string_view Version::GetText() const
{
    return m_piece != nullptr ? Span{m_begin, m_piece->m_value.m_end}.In(m_tree->GetText()) : std::string_view();
}

std::span<const Piece> Version::Inside() const
{
    return m_piece != nullptr ? m_tree->Inside(*m_piece) : std::span<const Piece>();
}

Spot Version::ToSpot() const
{
    return {.m_kind = SpotKind::Target, .m_type = Underlying(m_type), .m_data = m_data, .m_isRuled = true};
}

Version Version::At(const ReflectionByteCode& type, void* data, const Piece& piece) const
{
    return {type, data, m_tree, &piece, piece.m_value.m_begin};
}

Version Version::GetPart(const ReflectionByteCode& type, void* data, std::size_t index) const
{
    const std::span<const Piece> parts = Inside();
    return index < parts.size() ? At(type, data, parts[index]) : Version{type, data};
}

// They are written in that order.
std::vector<Version> Version::GetMembers(const std::vector<MemberField>& members) const
{
    std::vector<Version> versions;
    versions.reserve(members.size());
    const std::span<const Piece> parts = Inside();
    std::size_t next = 0;
    for (const MemberField& member : members)
    {
        void* const data = static_cast<char*>(m_data) + member.m_offset;
        const bool isNext = next < parts.size() && parts[next].m_head.In(m_tree->GetText()) == member.m_name;
        versions.push_back(isNext ? At(member.m_type, data, parts[next++])
                                  : Version{member.m_type, data, m_piece != nullptr ? m_tree : nullptr});
    }
    return versions;
}

Version Version::GetHeld(const ReflectionByteCode& type, void* data) const
{
    return {type, data, m_piece != nullptr ? m_tree : nullptr, m_piece, GetHeldBegin()};
}

std::string_view Version::GetHeldName() const
{
    return GetText().substr(0, GetHeldBegin() - m_begin);
}

// Behind the qualified name of an alternative.
std::size_t Version::GetHeldBegin() const
{
    const bool isOptional =
        GetTypeCode(Underlying(m_type)).m_kind == VK_FOREIGN && Underlying(m_type).GetForeignType().IsOptional();
    if (isOptional || m_piece == nullptr)
        return m_begin;
    const std::string_view text = m_tree->GetText().substr(0, m_piece->m_value.m_end);
    std::size_t at = m_begin;
    for (bool isSegment = true; at < text.size(); isSegment = !isSegment)
    {
        const Part part = ScanPart(text, at);
        if (part.m_token != (isSegment ? TOKEN_IDENTIFIER : TOKEN_COLON_COLON))
            break;
        at = part.m_span.m_end;
    }
    return at < text.size() && text[at] == ' ' ? at + 1 : at;
}

Version Versions::Write(const ReflectionByteCode& type, void* data, PieceTree& tree)
{
    tree = PieceTree(m_reading.Written(type, data), m_numbers);
    return {type, data, &tree, tree.GetWhole()};
}

Version Versions::Write(const ptr<IObject>& object, PieceTree& tree)
{
    tree = PieceTree(m_reading.Written(object), m_numbers);
    return {{}, object ? object.self() : nullptr, &tree, tree.GetWhole()};
}

Version Versions::Known(const Version& version, PieceTree& tree)
{
    return version.IsKnown() ? version : Write(version.m_type, version.m_data, tree);
}

Version Versions::Written(const Version& version, PieceTree& tree)
{
    return version.m_piece != nullptr ? version : Write(version.m_type, version.m_data, tree);
}

bool Versions::AreEqual(const Version& a, const Version& b)
{
    PieceTree ofA;
    PieceTree ofB;
    return Known(a, ofA).GetNumber() == Known(b, ofB).GetNumber();
}

} // namespace kelm::editing
