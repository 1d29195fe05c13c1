#include <kelmLanguage/Descriptions.h>

namespace kelm::language
{

namespace
{

// What is longer tells nobody more, where it is shown in one line.
constexpr std::size_t s_longestDefault = 60;

// Lines in curly brackets.
std::string WithBody(std::string text, const std::vector<std::string>& lines)
{
    text += "\n{\n";
    for (const std::string& line : lines)
        text += "    " + line + "\n";
    return text + "};\n";
}

// A comment of one or more lines above what it is about.
void AddDoc(std::vector<std::string>& lines, std::string_view doc)
{
    while (!doc.empty())
    {
        const std::size_t end = std::min(doc.find('\n'), doc.size());
        lines.push_back("// " + std::string(doc.substr(0, end)));
        doc.remove_prefix(std::min(end + 1, doc.size()));
    }
}

} // namespace

std::string DeclarationOf(const TypeNode& type, std::string_view name)
{
    std::size_t brackets = type.m_text.size();
    while (brackets > 0 && type.m_text[brackets - 1] == ']')
        brackets = type.m_text.rfind('[', brackets - 1) + 1 == 0 ? 0 : type.m_text.rfind('[', brackets - 1);
    return type.m_text.substr(0, brackets) + " " + std::string(name) + type.m_text.substr(brackets);
}

std::string DeclarationOf(const CatalogueMember& member)
{
    std::string text = DeclarationOf(member.m_type, member.m_name);
    if (member.m_default && member.m_default->size() <= s_longestDefault &&
        member.m_default->find('\n') == std::string::npos)
        text += " = " + *member.m_default;
    return text;
}

std::string DeclarationOf(const CatalogueClass& entry)
{
    std::vector<std::string> lines;
    for (const CatalogueMember& member : entry.m_members)
    {
        AddDoc(lines, member.m_doc);
        lines.push_back(DeclarationOf(member) + ";");
    }
    return WithBody("class " + entry.m_name, lines);
}

std::string DeclarationOf(const CatalogueEnum& entry)
{
    std::vector<std::string> lines;
    for (const CatalogueEnumerator& enumerator : entry.m_enumerators)
    {
        AddDoc(lines, enumerator.m_doc);
        lines.push_back(enumerator.m_name + " = " + std::to_string(enumerator.m_value) + ",");
    }
    return WithBody("enum " + entry.m_name, lines);
}

std::string DeclarationOf(const CatalogueVariant& entry)
{
    std::vector<std::string> lines;
    for (const CatalogueAlternative& alternative : entry.m_alternatives)
        lines.push_back(alternative.m_name + ": " + alternative.m_type.m_text + ";");
    return WithBody("variant " + entry.m_name, lines);
}

std::string Described(std::string_view declaration, std::string_view doc, std::string_view remark)
{
    std::string text = "```cpp\n";
    text += declaration;
    if (!declaration.ends_with('\n'))
        text += "\n";
    text += "```";
    for (const std::string_view paragraph : {doc, remark})
        if (!paragraph.empty())
            (text += "\n\n") += paragraph;
    return text;
}

std::string RemarkOn(const CatalogueMember& member)
{
    std::string remark;
    const auto add = [&](std::string_view sentence) { (remark += remark.empty() ? "" : " ") += sentence; };
    if (member.m_isRequired)
        add("Required.");
    if (member.m_isChecked)
        add("Its values are checked by a function.");
    return remark;
}

} // namespace kelm::language
