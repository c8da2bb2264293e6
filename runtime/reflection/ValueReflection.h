// Reflection of values: built-ins, platform values, enumerations and the model's value types, derived from their
// attribute lists. Included by the types' .cpp files and by whoever makes reflection objects of values.
#pragma once

#include <tuple>
#include <utility>

#include "runtime/reflection/GenericIf.h"
#include "runtime/reflection/TypeOf.h"
#include "runtime/value/ValueOps.h"

namespace Kro {

template <class T>
class ValueGenericIf;

/// A reflection object of a copy of `value`.
template <class T>
Ptr<GenericIf> genericIfOf(T const& value, bool isConst = false) {
  return ValueGenericIf<T>::GenericIf_Is(value, isConst);
}

namespace detail {

/// The name of the type of an argument, for errors.
inline String8 typeNameOf(GenericIf const* argument) {
  return argument != nullptr && argument->type() ? argument->type()->fullName() : String8();
}

/// The address of what an argument holds, for its parameter's type; throws `TypeException` naming the parameter.
inline void* argumentOf(GenericIf const* argument, Ptr<KroType const> const& wanted, std::string_view parameter) {
  if (argument == nullptr || !(argument->type() == wanted)) {
    throwTypeException(String8(parameter), wanted->fullName(), typeNameOf(argument));
  }
  return argument->voidPtrIs(wanted);
}

/// What an argument holds, as its parameter's type.
template <class T>
struct Argument {
  static T as(GenericIf const* argument, std::string_view parameter) {
    return *static_cast<T const*>(argumentOf(argument, fwkTypeOf<T>(), parameter));
  }
};
/// An entity; null where the argument reflects none.
template <class T>
struct Argument<Ptr<T>> {
  static Ptr<T> as(GenericIf const* argument, std::string_view parameter) {
    return share<T>(
        static_cast<std::remove_const_t<T>*>(argumentOf(argument, fwkTypeOf<std::remove_const_t<T>>(), parameter)));
  }
};

template <class A, class Names, std::size_t... I>
A takeArguments(GenericIf const* list, Names const& names, std::string_view function, std::index_sequence<I...>) {
  [[maybe_unused]] LinkedQueue<GenericIf> queue = argumentQueue(list);
  A taken{Argument<std::tuple_element_t<I, A>>::as(queue.deq().get(), names[I])...};  // braces: in order
  if (!queue.empty()) {
    throwUnknownArgException(String8(function));
  }
  return taken;
}

/// Calls a function with the arguments of a list.
template <class C, class R, class Object, class... A>
Ptr<GenericIf> callWith(R (C::*call)(A...) const, Object const& object, GenericIf const* list,
                        std::array<std::string_view, sizeof...(A)> const& names, std::string_view function,
                        bool isConst) {
  auto const arguments =
      takeArguments<std::tuple<std::remove_cvref_t<A>...>>(list, names, function, std::index_sequence_for<A...>());
  return std::apply([&](auto const&... a) { return genericIfOf<Reflected<R>>((object.*call)(a...), isConst); },
                    arguments);
}

/// The stored attributes of `X` are the parameters of its constructor.
template <class X, std::size_t... I>
constexpr bool isMadeOfFields(std::index_sequence<I...>) {
  return std::is_constructible_v<X, typename At<X, I>::Type const&...>;
}
template <class X>
inline constexpr bool hasFieldConstructor = isMadeOfFields<X>(StoredPositions<X>());

template <class X, std::size_t... I>
X fromList(LinkedQueue<GenericIf>& queue, std::index_sequence<I...>) {
  return std::make_from_tuple<X>(std::tuple<typename At<X, I>::Type...>{
      Argument<typename At<X, I>::Type>::as(queue.deq().get(), At<X, I>::info.name)...});
}

}  // namespace detail

/// A value of type `T` behind the interface of reflection. It owns its copy and refers to nothing.
template <class T>
class ValueGenericIf final : public GenericIf {
 public:
  ValueGenericIf(T const& value, bool isConst) : GenericIf(isConst), value_(value) {}
  static Ptr<ValueGenericIf> GenericIf_Is(T const& value, bool isConst) {
    Ptr<ValueGenericIf> made = adopt(new ValueGenericIf(value, isConst));
    made->hasNotificationActiveIs(true);
    return made;
  }

  T const& value() const { return value_; }
  /// Replaces the whole value, without checks and without notification.
  void valIs(T const& value) { value_ = value; }

  Ptr<KroType const> type() const override { return fwkTypeOf<T>(); }
  void* voidPtrIs(Ptr<KroType const> const& wanted) const override {
    if (!(wanted == type())) {
      throwTypeException(type()->name().string(), wanted ? wanted->fullName() : String8(), type()->fullName());
    }
    return const_cast<T*>(&value_);
  }
  String8 strRep() const override {
    if constexpr (std::is_same_v<T, void*>) {
      return {};
    } else {
      return valueToStrep(value_);
    }
  }
  Ptr<GenericIf> clone() override { return GenericIf_Is(value_, isConst()); }
  Ptr<GenericIf> attributeOp(AttributeOp const& op, Ptr<GenericIf const> const& index,
                             Ptr<GenericIf> const& arg) override;

  /// A new object built from an argument list: the constructor's parameters in order, or nothing for the default.
  static Ptr<ValueGenericIf> genericIfListConstructor(Ptr<GenericIf const> const& list) { return fromList(list.get()); }
  static Ptr<ValueGenericIf> fromList(GenericIf const* list);

 private:
  template <std::size_t I>
  bool tryAttribute(AttributeOp const& op, Ptr<GenericIf const> const& index, Ptr<GenericIf> const& arg,
                    Ptr<GenericIf>& result);
  template <std::size_t... I>
  bool tryAttributes(AttributeOp const& op, Ptr<GenericIf const> const& index, Ptr<GenericIf> const& arg,
                     Ptr<GenericIf>& result, std::index_sequence<I...>) {
    return (tryAttribute<I>(op, index, arg, result) || ...);
  }

  T value_;
};

/// The type object of a value type or enumeration.
template <class T>
class ValueTypeOf final : public KroType {
 public:
  explicit ValueTypeOf(String8 fullName) : KroType(std::move(fullName)) {}

  Ptr<GenericIf> genericIf(void const* value, bool isConst) const override {
    return genericIfOf(value != nullptr ? *static_cast<T const*>(value) : T(), isConst);
  }
  Ptr<GenericIf> genericIf(GenericIf const* list, bool) const override { return ValueGenericIf<T>::fromList(list); }
  Ptr<GenericIf> genericIf(String8 const& text, bool isConst) const override {
    if constexpr (std::is_same_v<T, void*>) {
      return KroType::genericIf(text, isConst);
    } else {
      return genericIfOf(strepToValue<T>(text), isConst);
    }
  }
};

template <class T>
Ptr<ValueGenericIf<T>> ValueGenericIf<T>::fromList(GenericIf const* list) {
  Ptr<KroType const> const type = fwkTypeOf<T>();
  ReflectionPlace const place(type->fullName(), {}, -1);
  LinkedQueue<GenericIf> queue = argumentQueue(list);
  T value{};
  if (!queue.empty()) {
    if constexpr (!Described<T>) {
      value = detail::Argument<T>::as(queue.deq().get(), "value");
    } else if constexpr (detail::hasFieldConstructor<T>) {
      value = detail::fromList<T>(queue, StoredPositions<T>());
    }
  }
  if (!queue.empty()) {
    throwUnknownArgException(type->name().string());
  }
  if constexpr (requires { value.check(); }) {
    value.check();
  }
  return GenericIf_Is(value, false);
}

template <class T>
template <std::size_t I>
bool ValueGenericIf<T>::tryAttribute(AttributeOp const& op, Ptr<GenericIf const> const& index,
                                     Ptr<GenericIf> const& arg, Ptr<GenericIf>& result) {
  constexpr auto& d = At<T, I>::info;
  using D = typename At<T, I>::Descriptor;
  if (d.id == 0 || d.id != static_cast<AttributeId>(op.attributeId)) {
    return false;
  }
  Ptr<KroType const> const own = type();
  ReflectionPlace const place(own->fullName(), d.name, op.opId);
  if (index) {
    throwBadIndexAttrException(String8(d.name));
  }
  if constexpr (requires { d.call; }) {
    if (op.opId == AttributeOp::read) {
      result = detail::callWith(d.call, value_, arg.get(), d.arguments, d.name, isConst());
      return true;
    }
  } else {
    using F = typename D::Type;
    if (op.opId == AttributeOp::read) {
      if constexpr (D::isStored) {
        result = genericIfOf<F>(At<T, I>::of(value_), isConst());
      } else if constexpr (requires { d.get; }) {
        result = genericIfOf<F>((value_.*(d.get))(), isConst());
      } else {
        result = genericIfOf<F>(d.value, isConst());
      }
      return true;
    }
    if constexpr (requires { (value_.*(d.set))(std::declval<F>()); }) {
      if (op.opId == AttributeOp::write) {
        (value_.*(d.set))(detail::Argument<F>::as(arg.get(), d.name));
        return true;
      }
    }
  }
  throwOpNotSupportedException(String8(d.name), op.opId, false);
}

template <class T>
Ptr<GenericIf> ValueGenericIf<T>::attributeOp(AttributeOp const& op, Ptr<GenericIf const> const& index,
                                              Ptr<GenericIf> const& arg) {
  requireModifiable(op);
  if constexpr (Enumeration<T>) {
    if (op.attributeId != 1) {
      throwUnknownAttrException(String8(enumerationName<T>()));
    }
    if (op.opId != AttributeOp::read) {
      throwOpNotSupportedException(String8(enumerationName<T>()), op.opId, false);
    }
    return GenericIf_Is(value_, false);
  } else {
    if (op.attributeId == 0 && op.opId == AttributeOp::equals) {
      if constexpr (requires { value_ == value_; }) {
        return genericIfOf(value_ == detail::Argument<T>::as(index.get(), "kroOpArg"), isConst());
      }
    }
    Ptr<GenericIf> result;
    if constexpr (Described<T>) {
      if (op.attributeId > 1 && tryAttributes(op, index, arg, result, std::make_index_sequence<attributeCount<T>>())) {
        return result;
      }
    }
    return GenericIf::attributeOp(op, index, arg);
  }
}

// --- type objects ---

namespace detail {

/// The type object of value type `X`; `registration` is the function of the source that declares it.
template <class X>
Ptr<KroType const> valueType(void (*registration)()) {
  return slottedType<X, ValueTypeOf<X>>(registration, String8(X::Attributes::typeName));
}
/// The type object of enumeration `E`.
template <Enumeration E>
Ptr<KroType const> enumerationTypeOf(void (*registration)()) {
  return slottedType<E, ValueTypeOf<E>>(registration, String8(kroEnumerators(E{}).typeName));
}

}  // namespace detail

template <BuiltinType T>
Ptr<KroType const> Builtin<T>::_fwkType() {
  return slottedType<T, ValueTypeOf<T>>(nullptr, String8(builtinName<T>));
}

}  // namespace Kro
