#pragma once

// What objects own that others have been moved from, so that none is without: one of a kind for all of them, which is
// made when it is first needed, never changed and never destroyed, since objects may outlast whatever could own it.

#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace kelm::evaluation
{

template <class T>
T& MovedFrom() noexcept
{
    alignas(T) static std::byte s_room[sizeof(T)];
    static T& s_one = *::new (static_cast<void*>(s_room)) T;
    return s_one;
}
template <class T>
bool IsMovedFrom(const T& owned) noexcept
{
    return &owned == &MovedFrom<T>();
}

// What was owned; that of objects that others have been moved from is owned instead.
template <class T>
std::unique_ptr<T> TakeOver(std::unique_ptr<T>& owner) noexcept
{
    return std::exchange(owner, std::unique_ptr<T>(&MovedFrom<T>()));
}

// In place of destroying what is owned.
template <class T>
void Dispose(std::unique_ptr<T> owner) noexcept
{
    if (IsMovedFrom(*owner))
        static_cast<void>(owner.release());
}

} // namespace kelm::evaluation
