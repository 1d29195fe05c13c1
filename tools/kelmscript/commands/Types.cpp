#include "Types.h"

#include "../files/Modules.h"
#include "../lsp/Worker.h"
#include "../reporting/Diagnostics.h"
#include "../reporting/Output.h"
#include "../reporting/Suggest.h"

#include <kelm/private/files/FileText.h>
#include <kelm/private/types/Names.h>
#include <kelm/private/types/TypeCatalogue.h>
#include <kelm/private/types/TypeText.h>
#include <kelmLanguage/Descriptions.h>
#include <kelmLanguage/Schema.h>
#include <klKelmScript/ParseDataSource.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/Registry.h>
#include <klPersistStore/Target.h>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <utility>
#include <vector>

namespace kelm::tool
{

namespace
{

template <class Descriptor>
void ListKind(ConstStringZ kind, const xvector<const Descriptor*>& descriptors)
{
    if (descriptors.empty())
        return;
    PutLine(std::string(kind) + ":");
    for (const Descriptor* descriptor : descriptors)
        PutLine(std::string("    ") + descriptor->m_name);
}

// --- One declaration

// A line of a declaration, with what is remarked on it.
struct Row
{
    std::string m_text;
    std::string m_remark;
};

void PutBody(const std::vector<Row>& rows)
{
    std::size_t width = 0;
    for (const Row& row : rows)
        width = std::max(width, row.m_text.size());
    PutLine("{");
    for (const Row& row : rows)
    {
        const std::string padding(width - row.m_text.size(), ' ');
        PutLine("    " + row.m_text + (row.m_remark.empty() ? "" : padding + "  // " + row.m_remark));
    }
    PutLine("};");
}

std::string OctetsText(ssize_t size)
{
    return std::to_string(size) + (size == 1 ? " octet" : " octets");
}

std::string TargetRemark(ConstStringZ name)
{
    const dsTarget* const target = GetTargetDescription(GetTargetOfName(name));
    return target == nullptr ? std::string() : std::string(", target ") + target->m_targetName;
}

// A declaration of the type with the name behind it; the brackets of an array follow the name.
std::string Declaration(const ReflectionByteCode& type, const std::string& name)
{
    const std::string text = TypeText(type);
    std::size_t brackets = text.size();
    while (text[brackets - 1] == ']')
        brackets = text.rfind('[', brackets - 1);
    return text.substr(0, brackets) + " " + name + text.substr(brackets);
}

Row FieldRow(const ReflectionByteCode& type, ConstStringZ name, ssize_t offset, const std::string& releases)
{
    return {Declaration(type, name) + ";", "offset " + std::to_string(offset) + releases};
}

std::string ReleasesText(const ReflectedModelField& field)
{
    const std::string added = ", since release " + std::to_string(field.m_rsn1);
    return IsPresent(field) ? added : added + ", dropped in release " + std::to_string(field.m_rsn2);
}

void Show(const ReflectedClass& rc)
{
    std::string remark = OctetsText(rc.m_size) + (rc.m_createFn != nullptr ? ", can be created" : "");
    for (ssize_t i = 0; i < rc.m_numInterfaces; ++i)
        remark += (i == 0 ? ", implements " : " and ") + std::string(rc.m_interfaces[i]);

    std::vector<Row> rows;
    const ClassModel model = FindClassModel(rc);
    if (model.m_class != nullptr)
    {
        const ReflectedClass& mc = *model.m_class;
        if (&mc != &rc)
            remark += ", model of " + std::string(mc.m_name);
        for (ssize_t i = 0; i < mc.m_numModelFields; ++i)
        {
            const ReflectedModelField& field = mc.m_modelFields[i];
            rows.push_back(FieldRow(ReflectionByteCode(field.m_bc, mc.m_stringTable), field.m_name,
                                    model.m_offset + field.m_offset, ReleasesText(field)));
        }
    }
    for (ssize_t i = 0; i < rc.m_numFields; ++i)
        rows.push_back(FieldRow(ReflectionByteCode(rc.m_fields[i].m_bc, rc.m_stringTable), rc.m_fields[i].m_name,
                                rc.m_fields[i].m_offset, ", outside the model"));
    PutLine("class " + std::string(rc.m_name) + "  // " + remark + TargetRemark(rc.m_name));
    PutBody(rows);
}

void Show(const ReflectedVariant& rv)
{
    std::vector<Row> rows;
    for (ssize_t i = 0; i < rv.m_numFields; ++i)
    {
        const ReflectedField& alternative = rv.m_fields[i];
        rows.push_back({std::string(alternative.m_name) + ": " +
                            TypeText(ReflectionByteCode(alternative.m_bc, rv.m_stringTable)) + ";",
                        "index " + std::to_string(i) + ", offset " + std::to_string(alternative.m_offset)});
    }
    PutLine("variant " + std::string(rv.m_name) + "  // " + OctetsText(rv.m_size) + TargetRemark(rv.m_name));
    PutBody(rows);
}

void Show(const ReflectedEnum& re)
{
    std::vector<Row> rows;
    rows.reserve(static_cast<std::size_t>(re.m_count));
    for (int32 i = 0; i < re.m_count; ++i)
        rows.push_back({std::string(re.m_strings[i]) + " = " + std::to_string(re.GetValue(i)) + ",",
                        re.m_enabled != nullptr && !re.m_enabled[i] ? "disabled" : ""});
    const std::string target = TargetRemark(re.m_name);
    PutLine("enum " + std::string(re.m_name) + (target.empty() ? "" : "  // " + target.substr(2)));
    PutBody(rows);
}

void Show(const ReflectedTypedef& rt)
{
    PutLine("typedef " + Declaration(ReflectionByteCode(rt.m_bc, rt.m_stringTable), rt.m_name) + ";");
}

void Show(const ReflectedInterface& ri)
{
    PutLine("interface " + std::string(ri.m_name) + ";");
}

void Show(const ReflectedGlobalFunction& function)
{
    const auto typeText = [&](const uint8* bc) { return TypeText(ReflectionByteCode(bc, function.m_stringTable)); };
    std::string arguments;
    for (ssize_t i = 0; i < function.m_numArgs; ++i)
        arguments += (i == 0 ? "" : ", ") + typeText(function.m_args[i].m_bc) + " " + function.m_args[i].m_name;
    PutLine(typeText(function.m_returnType.m_bc) + " " + function.m_name + "(" + arguments + ");");
}

// --- One of a catalogue, which knows no sizes, offsets or releases

using language::DeclarationOf;

// What follows what is declared: "x" and "y" make "  // x, y".
std::string Remarks(std::initializer_list<std::string> remarks)
{
    std::string text;
    for (const std::string& remark : remarks)
        if (!remark.empty())
            text += (text.empty() ? "" : ", ") + remark;
    return text;
}

void PutTold(const std::string& declaration, const std::string& remarks, const std::vector<Row>& rows)
{
    PutLine(declaration + (remarks.empty() ? "" : "  // " + remarks));
    PutBody(rows);
}

std::string TargetOf(const CatalogueEntry& entry)
{
    return entry.m_module.empty() ? std::string() : "target " + entry.m_module;
}

void Show(const CatalogueClass& entry)
{
    std::string interfaces;
    for (const std::string& name : entry.m_interfaces)
        interfaces += (interfaces.empty() ? "implements " : " and ") + name;
    std::vector<Row> rows;
    for (const CatalogueMember& member : entry.m_members)
        rows.push_back({DeclarationOf(member) + ";",
                        Remarks({member.m_isRequired ? "required" : "", member.m_isChecked ? "checked" : "",
                                 member.m_isOfModel ? "" : "outside the model"})});
    PutTold("class " + entry.m_name,
            Remarks({entry.m_isCreatable ? "can be created" : "", interfaces, TargetOf(entry)}), rows);
}

void Show(const CatalogueEnum& entry)
{
    std::vector<Row> rows;
    for (const CatalogueEnumerator& enumerator : entry.m_enumerators)
        rows.push_back({enumerator.m_name + " = " + std::to_string(enumerator.m_value) + ",", {}});
    PutTold("enum " + entry.m_name, TargetOf(entry), rows);
}

void Show(const CatalogueVariant& entry)
{
    std::vector<Row> rows;
    for (const CatalogueAlternative& alternative : entry.m_alternatives)
        rows.push_back({alternative.m_name + ": " + alternative.m_type.m_text + ";", {}});
    PutTold("variant " + entry.m_name, TargetOf(entry), rows);
}

void Show(const CatalogueTypedef& entry)
{
    PutLine("typedef " + DeclarationOf(entry.m_type, entry.m_name) + ";");
}

template <class Descriptor>
bool ShowIfFound(const Descriptor* descriptor)
{
    if (descriptor != nullptr)
        Show(*descriptor);
    return descriptor != nullptr;
}

bool ShowRegistered(ConstStringZ name)
{
    return ShowIfFound(TryFindReflectedClass(name)) || ShowIfFound(TryFindReflectedVariant(name)) ||
           ShowIfFound(TryFindReflectedEnum(name)) || ShowIfFound(TryFindReflectedTypedef(name)) ||
           ShowIfFound(TryFindReflectedInterface(name)) || ShowIfFound(TryFindReflectedGlobalFunction(name));
}

bool ShowTold(const std::string& name)
{
    const language::Types& told = ToldTypes();
    return ShowIfFound(told.FindClass(name)) || ShowIfFound(told.FindEnum(name)) ||
           ShowIfFound(told.FindVariant(name)) || ShowIfFound(told.FindTypedef(name));
}

// What catalogues tell of types beside what is registered: documentation, where they are described, their targets, and
// that values are checked, though here everything is accepted.
template <class Part, class Take>
void TakeOfParts(std::vector<Part>& parts, const std::vector<Part>& told, const Take& take)
{
    for (std::size_t i = 0; i < std::min(parts.size(), told.size()); ++i)
        if (parts[i].m_name == told[i].m_name)
            take(parts[i], told[i]);
}

void TakeParts(CatalogueClass& entry, const CatalogueClass& told)
{
    TakeOfParts(entry.m_members, told.m_members,
                [](CatalogueMember& member, const CatalogueMember& other)
                {
                    member.m_doc = other.m_doc;
                    member.m_isChecked = other.m_isChecked;
                });
}

void TakeParts(CatalogueEnum& entry, const CatalogueEnum& told)
{
    TakeOfParts(entry.m_enumerators, told.m_enumerators,
                [](CatalogueEnumerator& enumerator, const CatalogueEnumerator& other)
                { enumerator.m_doc = other.m_doc; });
}

void TakeParts(CatalogueEntry&, const CatalogueEntry&) {}

TypeCatalogue WithTold(TypeCatalogue catalogue)
{
    const language::Types& told = ToldTypes();
    const auto take = [](auto& entries, const auto& find)
    {
        for (auto& entry : entries)
            if (const auto* const other = find(entry.m_name))
            {
                static_cast<CatalogueEntry&>(entry) = static_cast<const CatalogueEntry&>(*other);
                TakeParts(entry, *other);
            }
    };
    take(catalogue.m_classes, [&](const std::string& name) { return told.FindClass(name); });
    take(catalogue.m_enums, [&](const std::string& name) { return told.FindEnum(name); });
    take(catalogue.m_variants, [&](const std::string& name) { return told.FindVariant(name); });
    take(catalogue.m_typedefs, [&](const std::string& name) { return told.FindTypedef(name); });
    return catalogue;
}

} // namespace

void ListTypes()
{
    ListKind("classes", GetReflectedClasses());
    ListKind("variants", GetReflectedVariants());
    ListKind("enumerations", GetReflectedEnums());
    ListKind("typedefs", GetReflectedTypedefs());
    ListKind("interfaces", GetReflectedInterfaces());
    ListKind("functions", GetReflectedGlobalFunctions());
}

// The one that is meant by a name or the last part of it. Nothing, after an error was reported, where that is none or
// several.
std::optional<std::string> FindRegistered(const std::string& name)
{
    const std::vector<std::string> all = AllTypeNames();
    if (std::find(all.begin(), all.end(), name) != all.end())
        return name;
    std::vector<std::string> matches;
    for (const std::string& registered : all)
        if (IsPathSuffix(registered.c_str(), name.c_str()))
            matches.push_back(registered);
    if (matches.size() == 1)
        return matches.front();
    ReportError(matches.empty() ? "nothing is registered as " + name : name + " is the last part of several names");
    const std::string question = DidYouMean(matches.empty() ? NearestNames(name, all) : matches);
    if (!question.empty())
        ReportNote(question);
    return std::nullopt;
}

bool ShowType(const std::string& name)
{
    const std::optional<std::string> found = FindRegistered(name);
    return found && (ShowTold(*found) || ShowRegistered(found->c_str()));
}

// --- The catalogue

// Of all, or of one. Objects are created in a process beside this one, where there are modules.
std::optional<std::string> CatalogueText(const Options& options)
{
    std::string name = options.m_name;
    if (!name.empty())
    {
        const std::optional<std::string> found = FindRegistered(name);
        if (!found)
            return std::nullopt;
        name = *found;
    }
    const bool hasModules = !FilesOfModules(options.m_modules).empty();
    TypeCatalogue catalogue = CatalogueOfRegisteredTypes(name, hasModules ? Defaults::Untold : Defaults::Told);
    const std::string fault =
        hasModules ? TellDefaultsBeside(catalogue.m_classes, {options.m_modules, options.m_catalogues}) : std::string();
    if (!fault.empty())
        ReportNote(fault);
    return JsonOf(WithTold(std::move(catalogue)));
}

bool DumpTypes(const std::string& file, const std::string& text)
{
    const std::string why = MakeOrReplaceFile(file, text + "\n");
    if (!why.empty())
        ReportError("cannot write " + file + ": " + why, "file");
    return why.empty();
}

int RunTypes(const Options& options)
{
    if (options.m_json || !options.m_dump.empty())
    {
        const std::optional<std::string> text = CatalogueText(options);
        if (!text)
            return EXIT_FAILED;
        if (!options.m_dump.empty())
            return DumpTypes(options.m_dump, *text) ? EXIT_OK : EXIT_FAILED;
        PutLine(*text);
        return EXIT_OK;
    }
    if (!options.m_name.empty())
        return ShowType(options.m_name) ? EXIT_OK : EXIT_FAILED;
    ListTypes();
    return EXIT_OK;
}

int RunSchema(const Options& options)
{
    const std::optional<std::string> name = FindRegistered(options.m_name);
    if (!name)
        return EXIT_FAILED;
    const language::Types types(WithTold(CatalogueOfRegisteredTypes({}, Defaults::Untold)));
    const CatalogueClass* const entry = types.FindClass(*name);
    if (entry == nullptr)
    {
        ReportError(*name + " is no class");
        return EXIT_FAILED;
    }
    PutLine(language::SchemaOf(types, *entry));
    return EXIT_OK;
}

} // namespace kelm::tool
