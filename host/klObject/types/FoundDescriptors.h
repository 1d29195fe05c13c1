#pragma once

// The quick way to descriptors that are found again and again; Registry.h is how it is asked.

#include <klObject/api.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/types.h>

#include <atomic>

namespace kelm
{

// The descriptors of one kind that were found last, by the address of the name that they were found by: byte code has
// its names looked up under the same addresses each time, so that they need no hash of their text. Any thread may look
// at any time.
template <class Descriptor>
class FoundDescriptors
{
public:
    // The registered descriptor of that name, or null.
    const Descriptor* Find(ConstStringZ name)
    {
        const Descriptor* const found = SlotOf(name).load(std::memory_order_acquire);
        return found != nullptr && found->m_name == name ? found : FindByText(name);
    }

private:
    static constexpr int s_bits = 8;

    std::atomic<const Descriptor*>& SlotOf(ConstStringZ name)
    {
        return m_slots[reinterpret_cast<uint64>(name) * 0x9E3779B97F4A7C15u >> (64 - s_bits)];
    }
    const Descriptor* FindByText(ConstStringZ name);

    std::atomic<const Descriptor*> m_slots[1 << s_bits] = {};
};

extern template class KLOBJECT_API FoundDescriptors<ReflectedClass>;
extern template class KLOBJECT_API FoundDescriptors<ReflectedVariant>;
extern template class KLOBJECT_API FoundDescriptors<ReflectedEnum>;
extern template class KLOBJECT_API FoundDescriptors<ReflectedTypedef>;

extern KLOBJECT_API constinit FoundDescriptors<ReflectedClass> s_foundClasses;
extern KLOBJECT_API constinit FoundDescriptors<ReflectedVariant> s_foundVariants;
extern KLOBJECT_API constinit FoundDescriptors<ReflectedEnum> s_foundEnums;
extern KLOBJECT_API constinit FoundDescriptors<ReflectedTypedef> s_foundTypedefs;

} // namespace kelm
