// Trampolines: native closures, one for each bound function, that convert the arguments, call the function
// and push the result.
#pragma once

#include <qel/script/access.h>

#include <functional>
#include <tuple>
#include <utility>

namespace qelSq {

namespace internal {

/// Splits a function type into its result and its arguments.
template <typename F>
struct Signature;

template <typename R, typename... A>
struct Signature<R (*)(A...)> {
    using Result = R;
    using Arguments = std::tuple<A...>;
};
template <typename R, typename... A>
struct Signature<R (*)(A...) noexcept> : Signature<R (*)(A...)> {};
template <typename C, typename R, typename... A>
struct Signature<R (C::*)(A...)> : Signature<R (*)(A...)> {};
template <typename C, typename R, typename... A>
struct Signature<R (C::*)(A...) const> : Signature<R (*)(A...)> {};
template <typename C, typename R, typename... A>
struct Signature<R (C::*)(A...) noexcept> : Signature<R (*)(A...)> {};
template <typename C, typename R, typename... A>
struct Signature<R (C::*)(A...) const noexcept> : Signature<R (*)(A...)> {};

/// The parameters of a method: those of a member function, or those after the receiver of a free function.
template <typename F, typename Arguments = typename Signature<F>::Arguments>
struct MethodArguments {
    using Type = Arguments;
};
template <typename F, typename Receiver, typename... Rest>
requires(!std::is_member_function_pointer_v<F>) struct MethodArguments<F, std::tuple<Receiver, Rest...>> {
    using Type = std::tuple<Rest...>;
};

/// The Access class for a parameter of type P.
template <typename P>
using AccessFor = Access<std::remove_cvref_t<P>>;

/// Raises the error for a wrong number of arguments. @param isStatic  selects its wording.
QEL_API SQInteger raiseArgumentCount(SQVM* vm, bool isStatic);
/// Raises "native get on null-pointer" or "native set on null-pointer".
QEL_API SQInteger raiseNullAccess(SQVM* vm, bool isSetter);
/// Turns the native exception in flight into a script error.
QEL_API SQInteger raiseCurrentException(SQVM* vm);

/// Converts the argument number @p index of a native function.
template <size_t index, typename A>
struct ArgumentAccess {
    explicit ArgumentAccess(SQVM* vm) : access(vm, static_cast<SQInteger>(index) + 2) {}

    A access;
};

/// Converts all arguments, which are at stack index 2 and above, in their order: that of base classes.
template <typename Sequence, typename Arguments>
struct AllAccess;

template <size_t... I, typename... P>
struct AllAccess<std::index_sequence<I...>, std::tuple<P...>> : ArgumentAccess<I, AccessFor<P>>... {
    explicit AllAccess([[maybe_unused]] SQVM* vm) : ArgumentAccess<I, AccessFor<P>>(vm)... {}

    template <size_t index>
    decltype(auto) value() const {
        using Base = ArgumentAccess<index, AccessFor<std::tuple_element_t<index, std::tuple<P...>>>>;
        return Base::access.value();
    }
};

/// Converts the arguments, calls @p call with them and pushes its result.
template <typename R, typename Arguments, typename Call, size_t... I>
SQInteger callWith(SQVM* vm, const Call& call, std::index_sequence<I...>) try {
    [[maybe_unused]] const AllAccess<std::index_sequence<I...>, Arguments> access(vm);
    if constexpr (std::is_void_v<R>) {
        call(access.template value<I>()...);
        return 0;
    } else {
        return pushResult<std::remove_cvref_t<R>>(vm, call(access.template value<I>()...));
    }
} catch (...) {
    return raiseCurrentException(vm);
}

} // namespace internal

/// Native closure that calls the static or free function @p F.
template <auto F>
SQInteger callStatic(SQVM* vm) {
    using Signature = internal::Signature<decltype(F)>;
    using Arguments = typename Signature::Arguments;
    constexpr size_t count = std::tuple_size_v<Arguments>;
    if (sq_gettop(vm) != SQInteger{count} + 1) return internal::raiseArgumentCount(vm, true);
    return internal::callWith<typename Signature::Result, Arguments>(
        vm, [](auto&&... a) -> typename Signature::Result { return F(std::forward<decltype(a)>(a)...); },
        std::make_index_sequence<count>());
}

/// Native closure that calls a method of T: a member function, or a free function whose first parameter is a
/// T&.
template <typename T, auto F>
SQInteger callMethod(SQVM* vm) {
    using Result = typename internal::Signature<decltype(F)>::Result;
    using Arguments = typename internal::MethodArguments<decltype(F)>::Type;
    constexpr size_t count = std::tuple_size_v<Arguments>;
    if (sq_gettop(vm) != SQInteger{count} + 1) return internal::raiseArgumentCount(vm, false);
    T* self = NativeClass<T>::at(vm, 1);
    if (!self) return internal::raiseNoReceiver(vm);
    return internal::callWith<Result, Arguments>(
        vm, [self](auto&&... a) -> Result { return std::invoke(F, *self, std::forward<decltype(a)>(a)...); },
        std::make_index_sequence<count>());
}

/// Native closure of a function whose last parameters may be omitted. The trampoline @p Short handles calls
/// with @p count arguments, @p Long all others.
template <size_t count, SQFUNCTION Short, SQFUNCTION Long>
SQInteger callEither(SQVM* vm) {
    return sq_gettop(vm) == SQInteger{count} + 1 ? Short(vm) : Long(vm);
}

/// Native closure that gets the member @p M of a T; "_get" calls it with the instance alone.
template <typename T, auto M>
SQInteger callGetter(SQVM* vm) {
    T* self = NativeClass<T>::at(vm, 1);
    if (!self) return internal::raiseNullAccess(vm, false);
    return pushResult(vm, std::invoke(M, *self));
}

/// Native closure that sets the member @p M of a T; "_set" calls it with the instance and the value.
template <typename T, auto M>
SQInteger callSetter(SQVM* vm) {
    if (sq_gettop(vm) != 2) return internal::raiseArgumentCount(vm, false);
    T* self = NativeClass<T>::at(vm, 1);
    if (!self) return internal::raiseNullAccess(vm, true);
    auto& member = std::invoke(M, *self);
    member = internal::AccessFor<decltype(member)>(vm, 2).value();
    return 0;
}

} // namespace qelSq
