#include <kelm/private/values/Texts.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace kelm::evaluation
{

namespace
{

// Holds characters behind it, of which a text may be any part.
struct TextHolder : Holder
{
    std::size_t m_capacity;

    char* begin() { return reinterpret_cast<char*>(this + 1); }
    char* end() { return begin() + m_capacity; }
};

void Destroy(Holder* holder) noexcept
{
    ::operator delete(static_cast<void*>(holder));
}

TextHolder* NewHolder(std::size_t capacity)
{
    void* const memory = ::operator new(sizeof(TextHolder) + capacity);
    auto* const holder = ::new (memory) TextHolder;
    holder->m_destroy = Destroy;
    holder->m_capacity = capacity;
    return holder;
}

// The memory of a text that is this slot's alone.
TextHolder* TryGetOwn(const Slot& slot)
{
    Holder* const holder = slot.m_holder;
    const bool isOwn =
        holder != nullptr && holder->m_destroy == Destroy && holder->m_references.load(std::memory_order_acquire) == 1;
    return isOwn ? static_cast<TextHolder*>(holder) : nullptr;
}

void Copy(char* to, std::string_view text)
{
    if (!text.empty())
        std::memcpy(to, text.data(), text.size());
}

} // namespace

char* MakeText(Slot& slot, std::size_t size)
{
    TextHolder* const holder = NewHolder(size);
    slot.SetText({holder->begin(), size}, holder);
    return holder->begin();
}

void SetOwnText(Slot& slot, std::string_view text)
{
    Copy(MakeText(slot, text.size()), text);
}

void JoinTexts(Slot& a, const Slot& b)
{
    const std::string_view left = a.GetText();
    const std::string_view right = b.GetText();
    const std::size_t size = left.size() + right.size();
    if (TextHolder* const own = TryGetOwn(a); own != nullptr)
        if (right.size() <= static_cast<std::size_t>(own->end() - (left.data() + left.size())))
        {
            Copy(const_cast<char*>(left.data()) + left.size(), right);
            a.m_size = size;
            return;
        }
    if (TextHolder* const own = TryGetOwn(b); own != nullptr)
        if (left.size() <= static_cast<std::size_t>(right.data() - own->begin()))
        {
            char* const start = const_cast<char*>(right.data()) - left.size();
            Copy(start, left);
            own->m_references.fetch_add(1, std::memory_order_relaxed);
            a.Release();
            a.SetText({start, size}, own);
            return;
        }
    // What has grown before will grow again, on the same side.
    const std::size_t before = TryGetOwn(b) != nullptr ? size : 0;
    const std::size_t behind = TryGetOwn(a) != nullptr ? size : 16;
    TextHolder* const holder = NewHolder(before + size + behind);
    char* const start = holder->begin() + before;
    Copy(start, left);
    Copy(start + left.size(), right);
    a.Release();
    a.SetText({start, size}, holder);
}

} // namespace kelm::evaluation
