#include <kelmLanguage/Help.h>

#include <kelmLanguage/Alternatives.h>
#include <kelmLanguage/Descriptions.h>

namespace kelm::language
{

namespace
{

std::string Code(std::string_view text)
{
    return "`" + std::string(text) + "`";
}

std::string DescribedAlternative(const Types& types, const NameSite& site)
{
    if (site.m_alternative < 0)
        return {};
    const Alternative alternative = AlternativesOf(types, *site.m_type)[static_cast<std::size_t>(site.m_alternative)];
    return Described(std::string(alternative.m_name) + ": " + alternative.m_type->m_text, {},
                     "Alternative of " + Code(site.m_type->m_text) + ".");
}

std::string DescribedMember(const CatalogueClass& entry, const CatalogueMember& member)
{
    const std::string remark = RemarkOn(member);
    return Described(DeclarationOf(member), member.m_doc,
                     "Member of " + Code(entry.m_name) + "." + (remark.empty() ? "" : " ") + remark);
}

std::string DescribedName(const Types& types, const NameSite& site)
{
    switch (site.m_kind)
    {
    case NameKind::Class:
        return site.m_class != nullptr ? Described(DeclarationOf(*site.m_class), site.m_class->m_doc) : std::string();
    case NameKind::Member:
        return site.m_member != nullptr ? DescribedMember(*site.m_class, *site.m_member) : std::string();
    case NameKind::Enumerator:
        return site.m_enumerator != nullptr ? Described(site.m_enum->m_name + "::" + site.m_enumerator->m_name + " = " +
                                                            std::to_string(site.m_enumerator->m_value),
                                                        site.m_enumerator->m_doc)
                                            : std::string();
    case NameKind::Alternative: return DescribedAlternative(types, site);
    case NameKind::Word: return {};
    }
    return {};
}

// The member of a body whose value is at a place.
const CatalogueMember* MemberOf(const Frame& frame, std::string_view text)
{
    if (frame.m_class == nullptr)
        return nullptr;
    if (frame.m_kind == FrameKind::Named)
        return Types::FindMember(*frame.m_class, frame.m_label.In(text));
    return frame.m_index < frame.m_class->m_members.size() ? &frame.m_class->m_members[frame.m_index] : nullptr;
}

} // namespace

std::optional<Hover> HoverAt(const Document& document, const Types& types, std::size_t at)
{
    const Situation situation = SituationAt(document, types, at);
    if (situation.m_name)
        if (std::string described = DescribedName(types, *situation.m_name); !described.empty())
            return Hover{situation.m_name->m_span, std::move(described)};
    const std::optional<Span> value = situation.m_name ? situation.m_name->m_span : situation.m_scalar;
    if (!value)
        return std::nullopt;
    const Frame& frame = situation.m_frames.back();
    if (const CatalogueMember* const member = MemberOf(frame, document.GetText()))
        return Hover{*value, DescribedMember(*frame.m_class, *member)};
    const TypeNode* const type = situation.m_scalar ? situation.m_scalarType : situation.m_name->m_type;
    return type != nullptr ? std::optional(Hover{*value, Described(type->m_text, {})}) : std::nullopt;
}

std::optional<Signature> SignatureAt(const Document& document, const Types& types, std::size_t at)
{
    const Situation situation = SituationAt(document, types, at);
    for (auto frame = situation.m_frames.rbegin(); frame != situation.m_frames.rend(); ++frame)
    {
        if (frame->m_kind == FrameKind::Named)
            break;
        if (frame->m_kind != FrameKind::Positional)
            continue;
        if (frame->m_class == nullptr)
            break;
        Signature signature{.m_label = std::string(LastOf(frame->m_class->m_name)) + "(", .m_active = frame->m_index};
        for (const CatalogueMember& member : frame->m_class->m_members)
        {
            if (!signature.m_parts.empty())
                signature.m_label += ", ";
            const std::size_t begin = signature.m_label.size();
            signature.m_label += DeclarationOf(member.m_type, member.m_name);
            signature.m_parts.push_back({begin, signature.m_label.size()});
            signature.m_docs.push_back(member.m_doc);
        }
        signature.m_label += ")";
        return signature;
    }
    return std::nullopt;
}

} // namespace kelm::language
