#include <klObject/objects/Collector.h>

#include <klObject/objects/prefbase.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klObject/types/private/TypeCodes.h>
#include <klObject/values/private/CheckedType.h>
#include <klObject/values/private/SharedTargets.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/StackSegment.h>
#include <klUtils/xvector.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

// Visiting does not read byte code: each class has a plan, made by its first visit and kept by its descriptor, that
// says where the instances can hold handles, and nothing else is looked at. Plans refer to each other, in circles where
// a class holds a vector of its own kind.

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "host/klObject/values/VisitReflected";

enum EHandlePlan : uint8
{
    HP_NOTHING,  // holds no handle
    HP_HANDLE,   // a handle
    HP_PREF,     // a persistent reference
    HP_OPAQUE,   // a class known by its type operations alone
    HP_INSTANCE, // a class: each part at its offset
    HP_ARRAY,    // m_count elements of part 0
    HP_VECTOR,   // a vector or dynamic array of part 0
    HP_SET,      // of part 0
    HP_MAP,      // part 0 are the keys, part 1 the payloads
    HP_VARIANT,  // one part an alternative
    HP_FOREIGN,  // the parts are those of the foreign type
    HP_UNKNOWN,  // may hold handles where nobody can find them
};

struct PlanPart
{
    ssize_t m_offset = 0;
    const HandlePlan* m_plan = nullptr; // null: nothing to visit
};

} // namespace

struct HandlePlan
{
    EHandlePlan m_kind = HP_NOTHING;
    bool m_holds = false; // whether there can be a handle in it
    ssize_t m_count = 0;
    ssize_t m_stride = 0; // in bytes, from element to element
    PtrMapOrSetFns m_fns = {};
    const TypeOps* m_ops = nullptr;
    const ForeignType* m_foreign = nullptr;
    const ReflectedClass* m_class = nullptr; // of a class's plan: the descriptor that keeps it
    std::vector<PlanPart> m_parts = {};
};

namespace
{

const HandlePlan s_nothing = {.m_kind = HP_NOTHING};
const HandlePlan s_handle = {.m_kind = HP_HANDLE, .m_holds = true};
const HandlePlan s_pref = {.m_kind = HP_PREF, .m_holds = true};
const HandlePlan s_unknown = {.m_kind = HP_UNKNOWN, .m_holds = true};

const HandlePlan& PlanOfClass(const ReflectedClass& rc);

// The plan that the descriptor keeps; null before there is one, and for a copy of a descriptor that has one.
const HandlePlan* GetKeptPlan(const ReflectedClass& rc)
{
    const HandlePlan* const plan = std::atomic_ref(rc.m_handlePlan).load(std::memory_order_acquire);
    return plan != nullptr && plan->m_class == &rc ? plan : nullptr;
}

// Makes the plan of one type and of all that it is made of.
class PlanMaker
{
public:
    // Whether the plans of the classes met on the way are made here, together, or looked up.
    enum EClasses
    {
        MAKE_CLASSES,
        LOOK_UP_CLASSES,
    };

    explicit PlanMaker(EClasses classes) : m_classes(classes) {}

    const HandlePlan& OfClass(const ReflectedClass& rc);
    const HandlePlan& OfType(ReflectionByteCode rbc);

    // Learns which plans hold handles and leaves the others out. Plans are complete after it.
    void Prune();

    std::vector<std::unique_ptr<HandlePlan>> m_made;
    std::vector<const ReflectedClass*> m_madeClasses;

    const HandlePlan& GetMade(const void* descriptor) const { return *m_byDescriptor.find(descriptor)->second; }

private:
    HandlePlan& Make(EHandlePlan kind);
    HandlePlan& MakeOfElements(EHandlePlan kind, ReflectionByteCode elementType);
    const HandlePlan& OfMap(ReflectionByteCode rbc);
    const HandlePlan& OfSet(ReflectionByteCode rbc);
    const HandlePlan& OfVariant(const ReflectedVariant& rv);
    const HandlePlan& OfForeign(const ForeignType& type);
    const HandlePlan& OfUnderlyingType(ReflectionByteCode rbc);
    const HandlePlan& OfNoVariable(ReflectionByteCode rbc);
    void AddFields(HandlePlan& plan, const ReflectedClass& rc);

    EClasses m_classes;
    std::unordered_map<const void*, HandlePlan*> m_byDescriptor; // classes and variants that are begun
};

HandlePlan& PlanMaker::Make(EHandlePlan kind)
{
    m_made.push_back(std::make_unique<HandlePlan>());
    m_made.back()->m_kind = kind;
    return *m_made.back();
}

HandlePlan& PlanMaker::MakeOfElements(EHandlePlan kind, ReflectionByteCode elementType)
{
    HandlePlan& plan = Make(kind);
    plan.m_parts.push_back({0, &OfType(elementType)});
    return plan;
}

const HandlePlan& PlanMaker::OfClass(const ReflectedClass& rc)
{
    if (IsStackLow()) // classes contain classes
        return CallOnFreshSegment([&]() -> const HandlePlan& { return OfClass(rc); });
    if (m_classes == LOOK_UP_CLASSES)
        return PlanOfClass(rc);
    if (const HandlePlan* const known = GetKeptPlan(rc))
        return *known;
    if (const auto begun = m_byDescriptor.find(&rc); begun != m_byDescriptor.end())
        return *begun->second;

    HandlePlan& plan = Make(HP_INSTANCE);
    plan.m_class = &rc;
    m_byDescriptor.emplace(&rc, &plan);
    m_madeClasses.push_back(&rc);
    if (rc.m_modelFields == nullptr && GetOrdinaryFieldCount(rc) == 0)
    {
        plan.m_kind = HP_OPAQUE;
        plan.m_ops = rc.m_ops;
        plan.m_holds = rc.m_ops != nullptr &&
                       (rc.m_ops->m_VisitObjectsInArrayFn != nullptr || rc.m_ops->m_VisitPrefsInArrayFn != nullptr);
    }
    else
        AddFields(plan, rc);
    return plan;
}

// Dropped fields have no storage.
void PlanMaker::AddFields(HandlePlan& plan, const ReflectedClass& rc)
{
    const ClassModel model = FindClassModel(rc);
    if (model.m_class == &rc)
        for (ssize_t i = 0; i < GetModelFieldCount(rc); ++i)
        {
            const ReflectedModelField& field = rc.m_modelFields[i];
            if (IsPresent(field))
                plan.m_parts.push_back({field.m_offset, &OfType({field.m_bc, rc.m_stringTable, field.m_mapOrSetFns})});
        }
    else if (model.m_class != nullptr)
        // A whole instance: what it holds beside its model is held too.
        plan.m_parts.push_back({model.m_offset, &OfClass(*model.m_class)});
    for (ssize_t i = 0; i < GetOrdinaryFieldCount(rc); ++i)
        plan.m_parts.push_back({rc.m_fields[i].m_offset, &OfType({rc.m_fields[i].m_bc, rc.m_stringTable})});
}

const HandlePlan& PlanMaker::OfVariant(const ReflectedVariant& rv)
{
    if (const auto begun = m_byDescriptor.find(&rv); begun != m_byDescriptor.end())
        return *begun->second;

    HandlePlan& plan = Make(HP_VARIANT);
    m_byDescriptor.emplace(&rv, &plan);
    for (ssize_t i = 0; i < rv.m_numFields; ++i)
        plan.m_parts.push_back({rv.m_fields[i].m_offset, &OfType({rv.m_fields[i].m_bc, rv.m_stringTable})});
    return plan;
}

const HandlePlan& PlanMaker::OfForeign(const ForeignType& type)
{
    if (const auto begun = m_byDescriptor.find(&type); begun != m_byDescriptor.end())
        return *begun->second;

    HandlePlan& plan = Make(HP_FOREIGN);
    m_byDescriptor.emplace(&type, &plan);
    plan.m_foreign = &type;
    for (ssize_t i = 0; i < type.m_numParts; ++i)
        plan.m_parts.push_back({0, &OfType(type.GetPartType(i))});
    return plan;
}

// The function table of the map itself comes before those of its keys and payloads.
const HandlePlan& PlanMaker::OfMap(ReflectionByteCode rbc)
{
    const ReflectionByteCode keyType = rbc.GetElementType();
    ReflectionByteCode payloadType = keyType;
    payloadType.ScanType();
    HandlePlan& plan = MakeOfElements(HP_MAP, keyType);
    plan.m_parts.push_back({0, &OfType(payloadType)});
    if (rbc.m_mapOrSetFns != nullptr)
        plan.m_fns = *rbc.m_mapOrSetFns;
    return plan;
}

const HandlePlan& PlanMaker::OfSet(ReflectionByteCode rbc)
{
    HandlePlan& plan = MakeOfElements(HP_SET, rbc.GetElementType());
    if (rbc.m_mapOrSetFns != nullptr)
        plan.m_fns = *rbc.m_mapOrSetFns;
    return plan;
}

const HandlePlan& PlanMaker::OfType(ReflectionByteCode rbc)
{
    if (IsStackLow())
        return CallOnFreshSegment([&]() -> const HandlePlan& { return OfType(rbc); });
    rbc.AdvanceToUnderlyingType2();
    return OfUnderlyingType(rbc);
}

const HandlePlan& PlanMaker::OfUnderlyingType(ReflectionByteCode rbc)
{
    switch (GetTypeCode(rbc).m_kind) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case VK_NONE: return OfNoVariable(rbc);
    case VK_VOID:
    case VK_SCALAR:
    case VK_ENUM:
    case VK_STRING8:
    case VK_STRING16: return s_nothing;
    case VK_CLASS: return OfClass(GetClass(rbc, s_sourceFile));
    case VK_VARIANT: return OfVariant(GetVariant(rbc, s_sourceFile));
    case VK_ARRAY:
    {
        HandlePlan& plan = MakeOfElements(HP_ARRAY, rbc.GetElementType());
        plan.m_count = rbc.GetArrayCount();
        plan.m_stride = rbc.GetElementType().GetTypeSize();
        return plan;
    }
    case VK_VECTOR:
    {
        HandlePlan& plan = MakeOfElements(HP_VECTOR, rbc.GetElementType());
        plan.m_stride = rbc.GetElementType().GetTypeSize();
        return plan;
    }
    case VK_MAP: return OfMap(rbc);
    case VK_SET: return OfSet(rbc);
    case VK_HANDLE: return s_handle;
    case VK_PREF: return s_pref;
    case VK_FOREIGN: return OfForeign(rbc.GetForeignType());
    }
    return s_nothing; // GCOVR_EXCL_LINE: every one has returned
}

// A class may have fields of types whose variables nothing here can handle. Pointers, functions and what is not
// reflected are the class's own business; the others matter where they may hold handles.
const HandlePlan& PlanMaker::OfNoVariable(ReflectionByteCode rbc)
{
    switch (rbc.GetCode())
    {
    case FT_OPEN_VARIANT: return s_unknown;
    case FT_OFFSETTABLE:
    case FT_DEQUE:
    case FT_LIST:
    case FT_BAG: return MakeOfElements(HP_UNKNOWN, rbc.GetElementType());
    default: return s_nothing;
    }
}

void PlanMaker::Prune()
{
    // Each plan that holds handles tells those that it is a part of, once.
    std::unordered_map<const HandlePlan*, std::vector<HandlePlan*>> wholes;
    std::vector<const HandlePlan*> news;
    for (const std::unique_ptr<HandlePlan>& plan : m_made)
    {
        if (plan->m_holds)
            news.push_back(plan.get());
        for (const PlanPart& part : plan->m_parts)
            wholes[part.m_plan].push_back(plan.get());
    }
    for (const auto& [part, itsWholes] : wholes)
        if (part->m_holds)
            news.push_back(part);
    while (!news.empty())
    {
        const auto found = wholes.find(news.back());
        news.pop_back();
        if (found == wholes.end())
            continue;
        for (HandlePlan* const whole : found->second)
            if (!std::exchange(whole->m_holds, true))
                news.push_back(whole);
    }
    for (const std::unique_ptr<HandlePlan>& plan : m_made)
    {
        for (PlanPart& part : plan->m_parts)
            if (!part.m_plan->m_holds)
                part.m_plan = nullptr;
        if (plan->m_kind == HP_INSTANCE)
            std::erase_if(plan->m_parts, [](const PlanPart& part) { return part.m_plan == nullptr; });
    }
}

// The plans of all classes visited so far. They live as long as the process, like registered descriptors.
struct PublishedPlans
{
    std::mutex m_mutex;
    std::vector<std::unique_ptr<HandlePlan>> m_plans;
};

PublishedPlans& GetPublishedPlans()
{
    static PublishedPlans& published = *new PublishedPlans;
    return published;
}

const HandlePlan& MakePlanOfClass(const ReflectedClass& rc)
{
    PublishedPlans& published = GetPublishedPlans();
    const std::lock_guard lock(published.m_mutex);
    PlanMaker maker(PlanMaker::MAKE_CLASSES);
    const HandlePlan& plan = maker.OfClass(rc);
    maker.Prune();
    if (const std::size_t size = published.m_plans.size() + maker.m_made.size(); size > published.m_plans.capacity())
        published.m_plans.reserve(2 * size);
    for (std::unique_ptr<HandlePlan>& made : maker.m_made)
        published.m_plans.push_back(std::move(made));
    for (const ReflectedClass* const made : maker.m_madeClasses)
        std::atomic_ref(made->m_handlePlan).store(&maker.GetMade(made), std::memory_order_release);
    return plan;
}

const HandlePlan& PlanOfClass(const ReflectedClass& rc)
{
    const HandlePlan* const plan = GetKeptPlan(rc);
    return plan != nullptr ? *plan : MakePlanOfClass(rc);
}

// What the two kinds of visitors see of a leaf.
void VisitHandle(const ptr<IObject>& handle, IObjectVisitor& visitor)
{
    if (handle)
        visitor.Visit(handle);
}
void VisitHandle(const ptr<IObject>&, IPrefVisitor&) {}
void VisitPref(const prefbase& reference, IObjectVisitor& visitor)
{
    VisitHandle(reference.GetLoaded(), visitor);
}
void VisitPref(const prefbase& reference, IPrefVisitor& visitor)
{
    if (reference.GetLoaded() || reference.GetObjectId() != 0)
        visitor.Visit(reference);
}
void VisitOpaque(const TypeOps& ops, const void* p, IObjectVisitor& visitor)
{
    if (ops.m_VisitObjectsInArrayFn != nullptr)
        ops.m_VisitObjectsInArrayFn(p, ops.m_size, 1, visitor);
}
void VisitOpaque(const TypeOps& ops, const void* p, IPrefVisitor& visitor)
{
    if (ops.m_VisitPrefsInArrayFn != nullptr)
        ops.m_VisitPrefsInArrayFn(p, ops.m_size, 1, visitor);
}

template <class Visitor>
void VisitPlanned(const HandlePlan& plan, const char* p, Visitor& visitor);

template <class Visitor>
void VisitElements(const HandlePlan& plan, const char* p, ssize_t count, Visitor& visitor)
{
    const HandlePlan& element = *plan.m_parts[0].m_plan;
    for (ssize_t i = 0; i < count; ++i)
        VisitPlanned(element, p + i * plan.m_stride, visitor);
}

template <class Visitor>
void VisitAlternative(const HandlePlan& plan, const char* p, Visitor& visitor)
{
    int32 index;
    std::memcpy(&index, p, sizeof index);
    KELM_ASSERT(0 <= index && index < static_cast<ssize_t>(plan.m_parts.size()));
    const PlanPart& part = plan.m_parts[static_cast<std::size_t>(index)];
    if (part.m_plan != nullptr)
        VisitPlanned(*part.m_plan, p + part.m_offset, visitor);
}

// A walk over the entries of a map or a set.
template <class Visitor>
struct EntryWalk
{
    const HandlePlan* m_keyPlan;
    const HandlePlan* m_payloadPlan;
    Visitor& m_visitor;

    static bool VisitEntry(void* context, const void* key, void* payload)
    {
        const auto& walk = *static_cast<const EntryWalk*>(context);
        if (walk.m_keyPlan != nullptr)
            VisitPlanned(*walk.m_keyPlan, static_cast<const char*>(key), walk.m_visitor);
        if (walk.m_payloadPlan != nullptr)
            VisitPlanned(*walk.m_payloadPlan, static_cast<const char*>(payload), walk.m_visitor);
        return true;
    }
};

template <class Visitor>
void VisitForeign(const HandlePlan& plan, const char* p, Visitor& visitor)
{
    const ForeignType& type = *plan.m_foreign;
    const auto visitPart = [&](ssize_t part, const void* value)
    {
        if (const HandlePlan* const planOfPart = plan.m_parts[static_cast<std::size_t>(part)].m_plan)
            VisitPlanned(*planOfPart, static_cast<const char*>(value), visitor);
    };
    switch (type.GetForm()) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case FF_TEXT: return;
    case FF_LIST:
        for (ssize_t i = 0; i < type.m_list->Count(p); ++i)
            visitPart(type.m_list->m_isFixed ? i : 0, type.m_list->At(const_cast<char*>(p), i));
        return;
    case FF_MAP:
    {
        EntryWalk<Visitor> walk{plan.m_parts[0].m_plan, type.m_numParts == 2 ? plan.m_parts[1].m_plan : nullptr,
                                visitor};
        return type.m_map->ForEach(p, EntryWalk<Visitor>::VisitEntry, &walk);
    }
    case FF_CHOICE:
    {
        const int32 index = type.m_choice->GetIndex(p);
        if (index < 0)
            return;
        const void* const value = type.m_choice->GetValue(p);
        if (!IsShared(type, p)) [[likely]]
            return visitPart(index, value);
        SharedTargets<std::pair<const void*, const HandlePlan*>> targets;
        if (targets.Add({value, plan.m_parts[0].m_plan}))
            visitPart(index, value);
        return;
    }
    }
}

template <class Visitor>
void VisitPlanned(const HandlePlan& plan, const char* p, Visitor& visitor)
{
    if (IsStackLow())
        return CallOnFreshSegment([&] { VisitPlanned(plan, p, visitor); });
    switch (plan.m_kind) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case HP_NOTHING: return; // GCOVR_EXCL_LINE: what holds nothing is not visited
    case HP_HANDLE: return VisitHandle(*reinterpret_cast<const ptr<IObject>*>(p), visitor);
    case HP_PREF: return VisitPref(*reinterpret_cast<const prefbase*>(p), visitor);
    case HP_OPAQUE: return VisitOpaque(*plan.m_ops, p, visitor);
    case HP_INSTANCE:
        for (const PlanPart& part : plan.m_parts)
            VisitPlanned(*part.m_plan, p + part.m_offset, visitor);
        return;
    case HP_ARRAY: return VisitElements(plan, p, plan.m_count, visitor);
    case HP_VECTOR:
    {
        KELM_ASSERT(plan.m_stride > 0);
        const VectorOfByte& bytes = *reinterpret_cast<const VectorOfByte*>(p);
        return VisitElements(plan, bytes.data(), bytes.size() / plan.m_stride, visitor);
    }
    case HP_SET:
    {
        KELM_ASSERT(plan.m_fns.setFns != nullptr);
        EntryWalk<Visitor> walk{plan.m_parts[0].m_plan, nullptr, visitor};
        return plan.m_fns.setFns->ForEach(p, EntryWalk<Visitor>::VisitEntry, &walk);
    }
    case HP_MAP:
    {
        KELM_ASSERT(plan.m_fns.mapFns != nullptr);
        EntryWalk<Visitor> walk{plan.m_parts[0].m_plan, plan.m_parts[1].m_plan, visitor};
        return plan.m_fns.mapFns->ForEach(p, EntryWalk<Visitor>::VisitEntry, &walk);
    }
    case HP_VARIANT: return VisitAlternative(plan, p, visitor);
    case HP_FOREIGN: return VisitForeign(plan, p, visitor);
    case HP_UNKNOWN: break;
    }
    ThrowKelmAssertionError("0", s_sourceFile, __LINE__);
}

template <class Visitor>
void VisitIfHolds(const HandlePlan& plan, const void* p, Visitor& visitor)
{
    if (plan.m_holds)
        VisitPlanned(plan, static_cast<const char*>(p), visitor);
}

// The plan of a type that is not a class lasts for the visit only: nothing could keep it.
template <class Visitor>
void VisitVariable(ReflectionByteCode rbc, const void* p, Visitor& visitor)
{
    if (rbc.m_bc == nullptr)
        return;
    PlanMaker maker(PlanMaker::LOOK_UP_CLASSES);
    const HandlePlan& plan = maker.OfType(rbc);
    maker.Prune();
    VisitIfHolds(plan, p, visitor);
}

} // namespace

void VisitObjectsInReflectedVariable(ReflectionByteCode rbc, const void* p, IObjectVisitor& visitor)
{
    VisitVariable(rbc, p, visitor);
}

void VisitPrefsInReflectedVariable(ReflectionByteCode rbc, const void* p, IPrefVisitor& visitor)
{
    VisitVariable(rbc, p, visitor);
}

void VisitObjectsInClassInstance(const ReflectedClass& rc, const void* p, IObjectVisitor& visitor)
{
    VisitIfHolds(PlanOfClass(rc), p, visitor);
}

} // namespace kelm
