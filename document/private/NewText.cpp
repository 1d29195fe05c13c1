#include <kelmDocument/private/NewText.h>

#include <kelmDocument/private/Layout.h>

#include <kelm/private/values/Variable.h>
#include <klObject/objects/Collector.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/ForeignType.h>
#include <klUtils/StackSegment.h>

#include <algorithm>
#include <cstring>

namespace kelm::editing
{

using evaluation::Variable;

namespace
{

bool IsRequired(const ReflectedClass& rc, std::string_view name)
{
    const ClassModel model = FindClassModel(rc);
    if (model.m_class == nullptr || model.m_class->m_rules == nullptr)
        return false;
    for (ssize_t i = 0; i < GetModelFieldCount(*model.m_class); ++i)
        if (model.m_class->m_modelFields[i].m_name == name)
            return model.m_class->m_rules[i].m_isRequired;
    return false;
}

} // namespace

ReflectionByteCode TypeOfElement(const Spot& list, ssize_t index)
{
    return list.GetVariableKind() == VK_FOREIGN ? list.m_type.GetForeignType().GetElementType(index)
                                                : list.GetElementType();
}

bool FindHeld(const Spot& choice, int32& index, Held& held)
{
    if (choice.GetVariableKind() == VK_VARIANT)
    {
        const ReflectedVariant& rv = *choice.m_type.GetReflectedVariant();
        std::memcpy(&index, choice.m_data, sizeof index);
        const ReflectedField& field = rv.m_fields[index];
        held = {{field.m_bc, rv.m_stringTable, nullptr}, static_cast<char*>(choice.m_data) + field.m_offset};
        return true;
    }
    const ForeignType& type = choice.m_type.GetForeignType();
    index = type.m_choice->GetIndex(choice.m_data);
    if (index < 0)
        return false;
    held = {type.GetPartType(index), type.m_choice->GetValue(choice.m_data)};
    return true;
}

ptr<IObject> ObjectOf(const Spot& spot)
{
    return spot.GetVariableKind() == VK_PREF ? ptr<IObject>(static_cast<const prefbase*>(spot.m_data)->Get())
                                             : *static_cast<const ptr<IObject>*>(spot.m_data);
}

void NewText::Append(std::string& text, const Version& made)
{
    const Variable fresh(made.m_type);
    Append(text, {made.m_type, fresh.Get()}, made);
}

void NewText::Append(std::string& text, const Version& fresh, const Version& made)
{
    if (IsStackLow()) // objects hold objects
        return CallOnFreshSegment([&] { Append(text, fresh, made); });
    const Spot spot = made.ToSpot();
    const EVariableKind kind = spot.GetVariableKind();
    if (kind == VK_CLASS)
        return AppendBody(text, *spot.GetClass(), fresh, made);
    if (kind == VK_HANDLE || kind == VK_PREF)
        return AppendObject(text, ObjectOf(spot), made);
    PieceTree own;
    const Version written = m_versions.Written(made, own);
    if (spot.IsList() || spot.IsMap())
        return AppendItems(text, spot, fresh, written);
    int32 index = 0;
    Held held;
    if ((kind != VK_VARIANT && !spot.IsForeign(FF_CHOICE)) || !FindHeld(spot, index, held))
    {
        text += Spaced(std::string(written.GetText()));
        return;
    }
    // Of a variant, behind the alternative's name; of an optional, alone.
    const std::string_view name = written.GetHeldName();
    text += name;
    const bool isApart = name.empty() || name.ends_with(' ');
    const std::size_t end = text.size();
    text += isApart ? "" : " ";
    const std::size_t begin = text.size();
    Append(text, written.GetHeld(held.m_type, held.m_data));
    if (text.size() == begin)
        text.resize(end);
}

void NewText::AppendItems(std::string& text, const Spot& spot, const Version& fresh, const Version& made)
{
    text += '[';
    for (std::size_t i = 0; i < made.Inside().size(); ++i)
    {
        text += i > 0 ? ", " : "";
        if (!spot.IsFixedList())
        {
            spot.IsList() ? AppendElement(text, spot, made, i) : AppendEntry(text, spot, made, i);
            continue;
        }
        // Which is read over what is there.
        const auto index = static_cast<ssize_t>(i);
        const ReflectionByteCode type = TypeOfElement(spot, index);
        Append(text, fresh.GetPart(type, fresh.ToSpot().GetElement(index), i),
               made.GetPart(type, spot.GetElement(index), i));
    }
    text += ']';
}

void NewText::AppendElement(std::string& text, const Spot& list, const Version& made, std::size_t index)
{
    const Version element = made.GetPart(list.GetElementType(), list.GetElement(static_cast<ssize_t>(index)), index);
    if (element.m_data == nullptr)
        text += element.GetText();
    else
        Append(text, element);
}

void NewText::AppendEntry(std::string& text, const Spot& map, const Version& made, std::size_t index)
{
    const Piece& piece = made.Inside()[index];
    const std::string_view tree = made.m_tree->GetText();
    text += Spaced(std::string((map.IsSet() ? piece.m_value : piece.m_head).In(tree)));
    if (map.IsSet())
        return;
    const Variable key(map.GetKeyType());
    m_versions.GetReading().ReadValue(s_textName, piece.m_head.In(tree), map.GetKeyType(), key.Get());
    text += " -> ";
    Append(text, made.GetPart(map.GetPayloadType(), map.FindPayload(map.m_data, key.Get()), index));
}

void NewText::AppendObject(std::string& text, const ptr<IObject>& object, const Version& made)
{
    const ReflectedClass* const rc = object ? object.GetReflectedClass() : nullptr;
    if (rc == nullptr || rc->m_createFn == nullptr)
    {
        text += Spaced(m_versions.GetReading().Written(object).value_or("null"));
        return;
    }
    const GcRoot root(rc->m_createFn());
    RegisterGcObject(root.get());
    PieceTree ofFresh;
    const Version fresh = m_versions.Write(root.get(), ofFresh);
    Version body = made;
    body.m_data = object.self();
    text += rc->m_name;
    const std::size_t end = text.size();
    text += ' ';
    AppendBody(text, *rc, fresh, body);
    if (text.compare(end, std::string::npos, " {}") == 0)
        text.resize(end);
}

void NewText::AppendBody(std::string& text, const ReflectedClass& rc, const Version& fresh, const Version& made)
{
    PieceTree ofFresh;
    const std::vector<MemberField> members = MembersOf(rc);
    const std::vector<Version> before = m_versions.Known(fresh, ofFresh).GetMembers(members);
    const std::vector<Version> after = made.GetMembers(members);
    text += '{';
    const std::size_t begin = text.size();
    for (std::size_t i = 0; i < members.size(); ++i)
        if (IsRequired(rc, members[i].m_name) || !m_versions.AreEqual(before[i], after[i]))
        {
            text.append(" ").append(members[i].m_name).append(" = ");
            Append(text, before[i], after[i]);
        }
    text += text.size() > begin ? " }" : "}";
}

// --- Lines -----------------------------------------------------------------------------------------------------------

namespace
{

// Lines are indented no further behind so many levels: deep values stay readable, and of a size.
constexpr std::size_t s_mostLevels = 16;

class Lines
{
public:
    Lines(std::string text, std::string indent, const std::string& newLine)
        : m_tree(std::move(text)), m_indent(std::move(indent)), m_newLine(newLine)
    {
    }

    std::string Make() &&
    {
        const Piece& whole = *m_tree.GetWhole();
        m_text.append(m_tree.GetText(), 0, whole.m_span.m_begin);
        Put(whole, 0);
        m_text.append(m_tree.GetText(), whole.m_span.m_end);
        return std::move(m_text);
    }

private:
    std::size_t IndentAt(std::size_t level) const { return m_indent.size() + 4 * std::min(level, s_mostLevels); }

    // Items on lines of their own, where they are too long together.
    void Put(const Piece& piece, std::size_t level)
    {
        if (IsStackLow())
            return CallOnFreshSegment([&] { Put(piece, level); });
        const std::string_view text = m_tree.GetText();
        const std::span<const Piece> items = m_tree.Inside(piece);
        if (IndentAt(level) + piece.m_span.GetSize() <= s_longestLine || items.empty())
        {
            m_text += piece.m_span.In(text);
            return;
        }
        m_text += Span{piece.m_span.m_begin, piece.m_brackets.m_begin + 1}.In(text);
        for (const Piece& item : items)
        {
            BreakLine(level + 1);
            Put(item, level + 1);
            m_text += item.m_hasComma ? "," : "";
        }
        BreakLine(level);
        m_text += Span{piece.m_brackets.m_end - 1, piece.m_span.m_end}.In(text);
    }

    void BreakLine(std::size_t level)
    {
        m_text += m_newLine;
        m_text += m_indent;
        m_text.append(IndentAt(level) - m_indent.size(), ' ');
    }

    PieceTree m_tree;
    std::string m_indent;
    const std::string& m_newLine;
    std::string m_text;
};

} // namespace

std::string OverLines(std::string text, const std::string& indent, const std::string& newLine)
{
    return Lines(std::move(text), indent, newLine).Make();
}

} // namespace kelm::editing
