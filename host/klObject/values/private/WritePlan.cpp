#include <klObject/values/private/WritePlan.h>

#include <klObject/types/ClassModel.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/private/ClassFields.h>
#include <klUtils/text/QualifiedName.h>

#include <algorithm>
#include <initializer_list>
#include <mutex>

namespace kelm
{

namespace
{

constexpr ssize_t s_signs = 5; // in the two texts of a member

char* PutAll(char* p, std::initializer_list<SubString> texts)
{
    for (const SubString text : texts)
        p = std::copy(text.begin(), text.end(), p);
    return p;
}

xstring Join(std::initializer_list<SubString> texts)
{
    xstring joined;
    for (const SubString text : texts)
        joined.append(text);
    return joined;
}

// Whether reading takes the field of that index for its name: the first present one of the model, then the first other.
bool IsFoundByName(const ReflectedClass& rc, const ClassFields& fields, ssize_t i)
{
    const SubString name = fields[i].m_name;
    const ReflectedClass* const model = fields.GetModelClass();
    const ssize_t modelFields = fields.GetModelSize();
    const ssize_t found = model != nullptr ? FindPresentModelField(*model, name, i) : -1;
    return found >= 0 ? found == i : FindOrdinaryField(rc, name, i - modelFields) == i - modelFields;
}

xstring FindFault(const ReflectedClass& rc, const ClassFields& fields)
{
    if (fields.size() == 0 && rc.m_size > 1) // an empty C++ class has one byte
        return Join({"class ", rc.m_name, " describes no fields"});
    for (ssize_t i = 0; i < fields.size(); ++i)
    {
        const ClassFields::Field field = fields[i];
        if (!field.m_isPresent)
            continue;
        if (!IsIdentifier(field.m_name))
            return Join({"the name '", field.m_name, "' of a member of ", rc.m_name, " is no identifier"});
        if (!IsFoundByName(rc, fields, i))
            return Join({"class ", rc.m_name, " has several members of the name '", field.m_name, "'"});
    }
    return {};
}

std::unique_ptr<const WritePlan> MakePlan(const ReflectedClass& rc)
{
    const ClassFields fields(rc);
    auto plan = std::make_unique<WritePlan>();
    plan->m_class = &rc;
    plan->m_shortName = LastIdentifier(rc.m_name);
    plan->m_fault = FindFault(rc, fields);

    if (!plan->m_fault.empty())
        return plan;

    ssize_t textSize = s_textStep;
    for (ssize_t i = 0; i < fields.size(); ++i)
    {
        const ClassFields::Field field = fields[i];
        if (!field.m_isPresent)
            continue;
        plan->m_members.emplace_back(field.m_type, field.m_offset, field.m_name);
        textSize += 2 * SubString(field.m_name).size() + s_signs;
    }

    plan->m_texts = std::make_unique<char[]>(static_cast<std::size_t>(textSize));
    char* p = plan->m_texts.get();
    for (WrittenMember& member : plan->m_members)
    {
        member.m_denseText = p;
        p = PutAll(p, {" ", member.m_name, "="});
        member.m_denseSize = static_cast<int>(p - member.m_denseText);
        member.m_lineText = p;
        p = PutAll(p, {member.m_name, " = "});
    }
    return plan;
}

// The plans of all classes written so far. They live as long as the process, like registered descriptors.
struct PublishedPlans
{
    std::mutex m_mutex;
    std::vector<std::unique_ptr<const WritePlan>> m_plans;
};

PublishedPlans& GetPublishedPlans()
{
    static PublishedPlans& published = *new PublishedPlans;
    return published;
}

} // namespace

WrittenType::WrittenType(ReflectionByteCode type) : m_type(type)
{
    m_type.AdvanceToUnderlyingType2();
    m_code = m_type.GetCode();
    m_kind = GetTypeCode(m_type).m_kind;
}

WrittenElement::WrittenElement(ReflectionByteCode type) : WrittenType(type), m_size(m_type.GetTypeSize()) {}

WrittenMember::WrittenMember(ReflectionByteCode type, ssize_t offset, ConstStringZ name)
    : WrittenType(type)
    , m_mayBeLeftOut(m_kind == VK_PREF || m_kind == VK_SET ||
                     (m_kind == VK_FOREIGN && m_type.GetForeignType().IsOptional()))
    , m_denseSize(0)
    , m_denseText(nullptr)
    , m_lineText(nullptr)
    , m_offset(offset)
    , m_name(name)
{
    if (m_kind == VK_VECTOR)
        m_element.emplace(m_type.GetElementType());
    if (m_kind == VK_FOREIGN)
        if (const ForeignType& foreign = m_type.GetForeignType();
            foreign.GetForm() == FF_LIST && foreign.m_list->m_isContiguous)
            m_element.emplace(foreign.GetElementType(0));
}

SubString LastIdentifier(SubString name)
{
    for (const char* p = name.m_p2; p != name.m_p1; --p)
        if (p[-1] == ':')
            return {p, name.m_p2};
    return name;
}

const WritePlan& MakeWritePlan(const ReflectedClass& rc)
{
    std::unique_ptr<const WritePlan> plan = MakePlan(rc);
    PublishedPlans& published = GetPublishedPlans();
    const std::lock_guard lock(published.m_mutex);
    published.m_plans.push_back(std::move(plan));
    const WritePlan& kept = *published.m_plans.back();
    std::atomic_ref(rc.m_writePlan).store(&kept, std::memory_order_release);
    return kept;
}

} // namespace kelm
