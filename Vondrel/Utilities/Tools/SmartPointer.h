#pragma once

#include "Vondrel/Utilities/Exceptions/Location.h"
#include "Vondrel/Utilities/Exceptions/NullPointerException.h"
#include "Vondrel/Utilities/Exceptions/TypeName.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace Vondrel::Utilities::Tools {

/// A reference-counted owner. The count is not atomic: a pointer and its copies belong to one thread at a time. At most
/// 65535 copies.
template<typename T>
class SmartPointer {
public:
    SmartPointer() noexcept = default;

    /// Takes ownership; null gives an empty pointer.
    explicit SmartPointer(T* pointee_)
    {
        std::unique_ptr<T> owner(pointee_); // until the count exists
        if (pointee_ != nullptr)
            counter = new std::uint16_t(1);
        pointee = owner.release();
    }

    SmartPointer(const SmartPointer& other) noexcept : counter(other.counter), pointee(other.pointee) { Share(); }

    /// Shares the pointee of a pointer to a derived class.
    template<typename U>
    requires std::is_convertible_v<U*, T*> SmartPointer(const SmartPointer<U>& other)
    noexcept : counter(other.counter), pointee(other.pointee) { Share(); }

    SmartPointer(SmartPointer&& other) noexcept
        : counter(std::exchange(other.counter, nullptr)), pointee(std::exchange(other.pointee, nullptr))
    {
    }

    ~SmartPointer() { Release(); }

    SmartPointer& operator=(const SmartPointer& other) noexcept
    {
        SmartPointer(other).Swap(*this);
        return *this;
    }

    SmartPointer& operator=(SmartPointer&& other) noexcept
    {
        SmartPointer(std::move(other)).Swap(*this);
        return *this;
    }

    /// Becomes empty.
    /// @throws std::invalid_argument  the argument is not 0
    SmartPointer& operator=(long zero)
    {
        if (zero != 0)
            throw std::invalid_argument("SmartPointer<T>& operator =(long) argument was != Zero");
        SmartPointer().Swap(*this);
        return *this;
    }

    bool IsValid() const noexcept { return pointee != nullptr; }

    /// @throws NullPointerException  the pointer is empty
    T* operator->() const
    {
        if (pointee == nullptr)
            Refuse(THROW_LOCATION("SmartPointer<T>", "operator->"));
        return pointee;
    }

    /// @throws NullPointerException  the pointer is empty
    T& operator*() const
    {
        if (pointee == nullptr)
            Refuse(THROW_LOCATION("SmartPointer<T>", "operator*"));
        return *pointee;
    }

private:
    template<typename U>
    friend class SmartPointer;

    void Share() noexcept
    {
        if (counter != nullptr)
            ++*counter;
    }

    void Release() noexcept
    {
        if (counter != nullptr && --*counter == 0)
            Destroy();
    }

    // Out of line: inlined, g++ 12 loses count of the copies and warns of a use after the end.
    [[gnu::noinline]] void Destroy() noexcept
    {
        delete counter;
        delete pointee;
    }

    void Swap(SmartPointer& other) noexcept
    {
        std::swap(counter, other.counter);
        std::swap(pointee, other.pointee);
    }

    [[noreturn]] static void Refuse(std::string location)
    {
        throw Exceptions::NullPointerException("accessed null pointer (" + Exceptions::TypeName(typeid(T)) + ")",
                                               std::move(location));
    }

    std::uint16_t* counter = nullptr;
    T* pointee = nullptr;
};

}
