#include <kelmLanguage/TypedWalk.h>

#include <kelmLanguage/Alternatives.h>

#include <algorithm>

namespace kelm::language
{

namespace
{

std::size_t IndexOf(EToken openingBracket)
{
    return openingBracket == TOKEN_LEFT_PAREN ? 0 : openingBracket == TOKEN_LEFT_CURLY ? 1 : 2;
}

bool IsNumber(EToken token)
{
    return token == TOKEN_INTEGER || token == TOKEN_HEX_INTEGER || token == TOKEN_FLOAT;
}

const CatalogueEnumerator* FindEnumerator(const CatalogueEnum& entry, std::string_view name)
{
    const auto place = std::find_if(entry.m_enumerators.begin(), entry.m_enumerators.end(),
                                    [name](const CatalogueEnumerator& e) { return e.m_name == name; });
    return place != entry.m_enumerators.end() ? &*place : nullptr;
}

bool IsQuoted(EToken token)
{
    return token == TOKEN_SINGLE_QUOTED_STRING || token == TOKEN_DOUBLE_QUOTED_STRING;
}

} // namespace

bool NameSite::IsKnown() const
{
    switch (m_kind)
    {
    case NameKind::Class: return m_class != nullptr;
    case NameKind::Alternative: return m_alternative >= 0;
    case NameKind::Member: return m_member != nullptr;
    case NameKind::Enumerator: return m_enumerator != nullptr;
    case NameKind::Word: return true;
    }
    return true;
}

std::string NameOf(std::string_view text, Span path)
{
    std::string name;
    for (std::size_t at = path.m_begin; at < path.m_end;)
    {
        const Part part = ScanPart(text, at);
        if (part.Is(TOKEN_IDENTIFIER))
            name += part.m_span.In(text);
        else if (part.Is(TOKEN_DOT) || part.Is(TOKEN_COLON_COLON))
            name += "::";
        at = part.m_span.m_end;
    }
    return name;
}

bool AreWhole(const Part& brackets, std::string_view text)
{
    constexpr std::string_view closing = ")}]";
    return brackets.m_isClosed && text[brackets.m_span.m_end - 1] == closing[IndexOf(brackets.m_token)];
}

// --- Tokens

// The first one from there on.
Part TypedWalk::TokenAt(std::size_t at) const
{
    const std::string_view text = m_document.GetText();
    while (at < text.size())
    {
        const Part part = ScanPart(text, at);
        if (!part.IsPassed())
            return part;
        at = part.m_span.m_end;
    }
    return {PartKind::Token, TOKEN_END, {text.size(), text.size()}};
}

void TypedWalk::Advance()
{
    m_before = m_now.m_span.m_end;
    m_now = m_behind;
    m_behind = TokenAt(m_behind.m_span.m_end);
}

// Whether a value could begin here: what ends an item does not, nor does the next member.
bool TypedWalk::IsAtValue() const
{
    return !IsAtEnd() && !IsClosingBracket(m_now.m_token) && !IsAt(TOKEN_COMMA) && !IsAt(TOKEN_MINUS_GREATER) &&
           !(IsAtMember() && m_numNamed > 0);
}

// With a separator at its end where no name follows that.
Span TypedWalk::ReadPath()
{
    Span path = m_now.m_span;
    Advance();
    while (IsAt(TOKEN_DOT) || IsAt(TOKEN_COLON_COLON))
    {
        path.m_end = m_now.m_span.m_end;
        Advance();
        if (!IsAt(TOKEN_IDENTIFIER) || IsAtMember())
            break;
        path.m_end = m_now.m_span.m_end;
        Advance();
    }
    return path;
}

// --- Levels

void TypedWalk::Run(SiteVisitor& visitor)
{
    m_visitor = &visitor;
    m_behind = TokenAt(0);
    Advance();
    m_before = m_document.GetText().starts_with("\xEF\xBB\xBF") ? 3 : 0;
    m_frames.push_back({.m_kind = FrameKind::Whole});
    m_stages.push_back(Stage::Item);
    while (!m_frames.empty() && !m_visitor->IsDone())
        Step();
}

void TypedWalk::Step()
{
    switch (m_frames.back().m_kind)
    {
    case FrameKind::Whole:
        if (m_stages.back() == Stage::Behind)
            return Leave({});
        m_stages.back() = Stage::Behind;
        return ReadObject(nullptr, true);
    case FrameKind::Named: return StepInBody();
    case FrameKind::Positional:
    case FrameKind::List:
    case FrameKind::Map:
    case FrameKind::Unknown: return StepInList();
    }
}

void TypedWalk::BeginItem()
{
    const std::size_t place = IsAtValue() ? m_now.m_span.m_begin : m_before;
    m_frames.back().m_value = {place, place};
    m_frames.back().m_isInItem = true;
    m_visitor->BeginsItem(m_frames.back());
}

void TypedWalk::EndItem()
{
    Frame& frame = m_frames.back();
    if (!frame.m_isInItem)
        return;
    frame.m_isInItem = false;
    frame.m_value.m_end = m_before;
    m_visitor->EndsItem(frame);
}

void TypedWalk::StepInBody()
{
    Frame& frame = m_frames.back();
    if (m_stages.back() == Stage::Behind)
    {
        EndItem();
        m_stages.back() = Stage::Item;
    }
    const bool isName = IsAt(TOKEN_IDENTIFIER);
    m_visitor->Expects({.m_wanted = Wanted::Member,
                        .m_gap = Gap(),
                        .m_word = isName ? m_now.m_span : Span{},
                        .m_isName = true,
                        .m_class = frame.m_class});
    if (!isName)
        return PassJunk();
    NameSite site{.m_kind = NameKind::Member, .m_span = m_now.m_span, .m_class = frame.m_class};
    site.m_member = frame.m_class != nullptr ? Types::FindMember(*frame.m_class, TextOf(m_now.m_span)) : nullptr;
    site.m_type = site.m_member != nullptr ? &site.m_member->m_type : nullptr;
    site.m_isWhole = m_behind.m_token == TOKEN_EQUAL;
    frame.m_label = m_now.m_span;
    m_visitor->Meets(site);
    Advance();
    if (!site.m_isWhole)
        return;
    Advance();
    BeginItem();
    m_stages.back() = Stage::Behind;
    ReadValue(site.m_type);
}

// Of elements, of entries, and of values of a body by their position.
void TypedWalk::StepInList()
{
    Frame& frame = m_frames.back();
    if (LeavesForMember())
        return;
    const auto isCommaPassed = [&]
    {
        if (!IsAt(TOKEN_COMMA))
            return false;
        ++frame.m_index;
        frame.m_label = {};
        m_stages.back() = Stage::Item;
        Advance();
        return true;
    };
    switch (m_stages.back())
    {
    case Stage::Item:
    {
        const TypeNode* type = nullptr;
        if (frame.m_kind == FrameKind::Positional && frame.m_class != nullptr &&
            frame.m_index < frame.m_class->m_members.size())
        {
            type = &frame.m_class->m_members[frame.m_index].m_type;
        }
        else if (frame.m_kind == FrameKind::List || frame.m_kind == FrameKind::Map)
            type = ElementType(*frame.m_type, frame.m_index);
        m_stages.back() = frame.m_kind == FrameKind::Map ? Stage::Arrow : Stage::Behind;
        if (IsAtValue())
        {
            if (frame.m_kind == FrameKind::Map)
                frame.m_value = {m_now.m_span.m_begin, m_now.m_span.m_begin};
            else
                BeginItem();
        }
        return ReadValue(type);
    }
    case Stage::Arrow:
        if (!IsAt(TOKEN_MINUS_GREATER))
            return isCommaPassed() ? void() : PassJunk();
        frame.m_label = {frame.m_value.m_begin, m_before};
        Advance();
        BeginItem();
        m_stages.back() = Stage::Behind;
        return ReadValue(frame.m_type != nullptr && frame.m_type->m_parts.size() > 1 ? &frame.m_type->m_parts[1]
                                                                                     : nullptr);
    case Stage::Behind:
        if (IsAt(TOKEN_COMMA))
            EndItem();
        return isCommaPassed() ? void() : PassJunk();
    }
}

// Whether a list was left because a member begins, which none can hold.
bool TypedWalk::LeavesForMember()
{
    if (!IsAtMember() || m_numNamed == 0)
        return false;
    Leave({});
    return true;
}

// A closing bracket, or what cannot stand where it does.
void TypedWalk::PassJunk()
{
    if (IsAtEnd() || IsClosingBracket(m_now.m_token))
        return Close();
    if (IsOpeningBracket(m_now.m_token))
        return Open({});
    Advance();
}

// At a closing bracket or the end of the text.
void TypedWalk::Close()
{
    if (IsAtEnd())
        return Leave({});
    const auto opening = static_cast<EToken>(m_now.m_token - 1);
    if (m_openBrackets[IndexOf(opening)] == 0)
        return Advance(); // it closes nothing
    while (m_frames.back().m_bracket != opening)
        Leave({});
    EndItem();
    const Span closing = m_now.m_span;
    Advance();
    Leave(closing);
}

void TypedWalk::Leave(Span closing)
{
    EndItem();
    const Frame frame = m_frames.back();
    m_frames.pop_back();
    m_stages.pop_back();
    if (frame.m_bracket != TOKEN_UNDEF)
        --m_openBrackets[IndexOf(frame.m_bracket)];
    m_numNamed -= frame.m_kind == FrameKind::Named ? 1 : 0;
    m_visitor->Leaves(frame, closing);
}

Part TypedWalk::FindBrackets()
{
    m_skip.GoTo(m_now.m_span.m_begin);
    Part brackets{};
    m_skip.Next(brackets);
    return brackets;
}

void TypedWalk::Skip()
{
    m_now = FindBrackets();
    m_behind = TokenAt(m_now.m_span.m_end);
    Advance();
}

// At an opening bracket.
void TypedWalk::Open(Frame frame)
{
    frame.m_bracket = m_now.m_token;
    frame.m_opening = m_now.m_span.m_begin;
    if (frame.m_kind == FrameKind::Unknown && frame.m_bracket == TOKEN_LEFT_CURLY)
        frame.m_kind = FrameKind::Named;
    if (m_frames.size() >= s_deepest || !m_visitor->Enters(frame))
        return Skip();
    ++m_openBrackets[IndexOf(frame.m_bracket)];
    m_numNamed += frame.m_kind == FrameKind::Named ? 1 : 0;
    m_frames.push_back(frame);
    m_stages.push_back(Stage::Item);
    Advance();
}

// --- Values
//
// Each is read up to its end, or into its brackets, behind which it ends: then the level that it is on is told by its
// stage how to go on.

void TypedWalk::ReadValue(const TypeNode* type)
{
    bool allowsNull = false;
    Span alternative; // that was chosen last
    // A variant holds what its alternative is, an optional its part; each is declared, so that this ends.
    constexpr int enough = 1000;
    for (int i = 0; type != nullptr && i < enough; ++i)
    {
        type = &m_types.UnderlyingOf(*type);
        switch (type->m_kind)
        {
        case TypeKind::Optional:
            if (IsAtValue() && TextOf(m_now.m_span) == "null")
            {
                m_visitor->Meets({.m_kind = NameKind::Word, .m_span = m_now.m_span, .m_type = type});
                return Advance();
            }
            allowsNull = true;
            type = type->m_parts.empty() ? nullptr : type->m_parts.data();
            continue;
        case TypeKind::Variant:
        case TypeKind::Choice: type = ReadAlternative(*type, allowsNull, alternative); continue;
        case TypeKind::Class: return ReadInstance(*type, allowsNull, alternative);
        case TypeKind::Handle:
        case TypeKind::Reference: return ReadObject(type, type->m_kind == TypeKind::Handle || allowsNull);
        case TypeKind::Void: return;
        case TypeKind::Array:
        case TypeKind::List:
        case TypeKind::Tuple:
        case TypeKind::Set:
        case TypeKind::Map:
            m_visitor->Expects({.m_wanted = Wanted::List,
                                .m_gap = Gap(),
                                .m_word = IsAtValue() && IsAt(TOKEN_IDENTIFIER) ? m_now.m_span : Span{},
                                .m_isName = true,
                                .m_allowsNull = allowsNull,
                                .m_type = type});
            if (IsAt(TOKEN_LEFT_SQUARE))
                return Open({.m_kind = type->m_kind == TypeKind::Map ? FrameKind::Map : FrameKind::List,
                             .m_head = alternative,
                             .m_type = type});
            return ReadUnknown();
        case TypeKind::Bool:
        case TypeKind::Integer:
        case TypeKind::Float:
        case TypeKind::Character:
        case TypeKind::Text:
        case TypeKind::Duration:
        case TypeKind::Enum: return TryReadSimple(*type, allowsNull) ? void() : ReadUnknown();
        case TypeKind::Typedef: // of which nothing is known
        case TypeKind::Other: type = nullptr; continue;
        }
    }
    m_visitor->Expects({.m_wanted = Wanted::Value, .m_gap = Gap()});
    ReadUnknown();
}

// A value of which nothing is known: of names, at most a sign and a token, and brackets.
void TypedWalk::ReadUnknown()
{
    if (IsAt(TOKEN_MINUS) || IsAt(TOKEN_PLUS))
        Advance();
    bool isAny = false;
    while (IsAtValue() && !IsOpeningBracket(m_now.m_token) && (!isAny || IsAt(TOKEN_IDENTIFIER) || m_numNamed == 0))
    {
        isAny = true;
        if (IsAt(TOKEN_IDENTIFIER))
            ReadPath();
        else
            return Advance();
    }
    if (IsAtValue() && IsOpeningBracket(m_now.m_token))
        Open({});
}

void TypedWalk::ReadBody(const CatalogueClass* entry, Span head)
{
    if (IsAt(TOKEN_LEFT_CURLY))
        return Open({.m_kind = FrameKind::Named, .m_head = head, .m_class = entry});
    if (IsAt(TOKEN_LEFT_PAREN))
        Open({.m_kind = FrameKind::Positional, .m_head = head, .m_class = entry});
}

// An object of its own, or none.
void TypedWalk::ReadObject(const TypeNode* type, bool allowsNull)
{
    const bool isName = IsAt(TOKEN_IDENTIFIER) && IsAtValue();
    const Span gap = Gap();
    const Span path = isName ? ReadPath() : Span{};
    m_visitor->Expects({.m_wanted = Wanted::Object,
                        .m_gap = gap,
                        .m_word = path,
                        .m_isName = true,
                        .m_allowsNull = allowsNull,
                        .m_type = type});
    if (!isName)
        return ReadUnknown();
    const std::string name = NameOf(m_document.GetText(), path);
    if (name == "null")
        return m_visitor->Meets({.m_kind = NameKind::Word, .m_span = path, .m_type = type});
    const CatalogueClass* const entry = m_types.FindClass(name);
    m_visitor->Meets({.m_kind = NameKind::Class, .m_span = path, .m_type = type, .m_class = entry});
    m_visitor->Expects({.m_wanted = Wanted::Body, .m_gap = Gap(), .m_type = type, .m_class = entry});
    ReadBody(entry, path);
}

// A class's body, whose name may stand in front.
void TypedWalk::ReadInstance(const TypeNode& type, bool allowsNull, Span alternative)
{
    const CatalogueClass* const entry = m_types.FindClass(type.m_name);
    const bool isName = IsAt(TOKEN_IDENTIFIER) && IsAtValue();
    const Span gap = Gap();
    const Span path = isName ? ReadPath() : Span{};
    m_visitor->Expects({.m_wanted = Wanted::Class,
                        .m_gap = gap,
                        .m_word = path,
                        .m_isName = true,
                        .m_allowsNull = allowsNull,
                        .m_type = &type,
                        .m_class = entry});
    if (isName)
    {
        const bool isIt = IsLastOf(type.m_name, NameOf(m_document.GetText(), path));
        m_visitor->Meets(
            {.m_kind = NameKind::Class, .m_span = path, .m_type = &type, .m_class = isIt ? entry : nullptr});
        m_visitor->Expects({.m_wanted = Wanted::Body, .m_gap = Gap(), .m_type = &type, .m_class = entry});
    }
    if (IsAt(TOKEN_LEFT_CURLY) || IsAt(TOKEN_LEFT_PAREN))
        ReadBody(entry, isName ? path : alternative);
    else if (!isName)
        ReadUnknown();
}

// Gives the type of what follows; null where that is not known.
const TypeNode* TypedWalk::ReadAlternative(const TypeNode& type, bool allowsNull, Span& head)
{
    const bool isName = IsAt(TOKEN_IDENTIFIER) && IsAtValue();
    const Span gap = Gap();
    const Span path = isName ? ReadPath() : Span{};
    m_visitor->Expects({.m_wanted = Wanted::Alternative,
                        .m_gap = gap,
                        .m_word = path,
                        .m_isName = true,
                        .m_allowsNull = allowsNull,
                        .m_type = &type});
    if (!isName)
        return nullptr;
    const std::vector<Alternative> alternatives = AlternativesOf(m_types, type);
    const std::size_t chosen = FindAlternative(type, alternatives, NameOf(m_document.GetText(), path));
    const bool isKnown = chosen < alternatives.size();
    m_visitor->Meets({.m_kind = NameKind::Alternative,
                      .m_span = path,
                      .m_type = &type,
                      .m_alternative = isKnown ? static_cast<int>(chosen) : -1});
    head = path;
    return isKnown ? alternatives[chosen].m_type : nullptr;
}

// An enumerator, a number or a text; false where something else stands there.
bool TypedWalk::TryReadSimple(const TypeNode& type, bool allowsNull)
{
    Expectation expectation{.m_wanted = Wanted::Scalar, .m_gap = Gap(), .m_allowsNull = allowsNull, .m_type = &type};
    const bool isThere = IsAtValue() && !IsOpeningBracket(m_now.m_token);
    Span value = isThere ? m_now.m_span : Span{};
    if (isThere && (IsAt(TOKEN_MINUS) || IsAt(TOKEN_PLUS)))
    {
        Advance();
        if (IsAtValue())
            value.m_end = m_now.m_span.m_end;
    }
    expectation.m_word = value;
    expectation.m_isName = isThere && IsAt(TOKEN_IDENTIFIER);
    NameSite site{.m_kind = NameKind::Word, .m_span = m_now.m_span, .m_type = &type};
    bool isRead = false; // by a name
    const std::string_view text = TextOf(m_now.m_span);
    if (type.m_kind == TypeKind::Enum)
    {
        expectation.m_wanted = Wanted::Enumerator;
        expectation.m_enum = site.m_enum = m_types.FindEnum(type.m_name);
        site.m_kind = NameKind::Enumerator;
        site.m_enumerator = site.m_enum != nullptr ? FindEnumerator(*site.m_enum, text) : nullptr;
        isRead = true;
    }
    else if (type.m_kind == TypeKind::Bool)
    {
        expectation.m_wanted = Wanted::Bool;
        isRead = text == "true" || text == "false";
    }
    else if (type.m_kind == TypeKind::Float)
        isRead = text == "inf" || text == "nan";
    m_visitor->Expects(expectation);
    if (!IsAtValue())
        return true;
    if (expectation.m_isName)
    {
        if (!isRead)
            return false;
        m_visitor->Meets(site);
        Advance();
        return true;
    }
    const bool isQuoted =
        type.m_kind == TypeKind::Text || type.m_kind == TypeKind::Character || type.m_kind == TypeKind::Duration;
    if (!(isQuoted ? IsQuoted(m_now.m_token) : IsNumber(m_now.m_token)))
        return false;
    Advance();
    m_visitor->MeetsScalar(value, &type);
    return true;
}

const TypeNode* TypedWalk::ElementType(const TypeNode& list, std::size_t index) const
{
    if (list.m_kind != TypeKind::Tuple)
        return list.m_parts.empty() ? nullptr : list.m_parts.data();
    return index < list.m_parts.size() ? &list.m_parts[index] : nullptr;
}

} // namespace kelm::language
