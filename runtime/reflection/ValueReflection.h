// Reflection of values: built-ins, platform values, enumerations and the model's value types, derived from their
// attribute lists. Included by whoever makes reflection objects of values.
#pragma once

#include <array>
#include <span>
#include <tuple>
#include <utility>

#include "runtime/core/SparePlace.h"
#include "runtime/reflection/GenericIf.h"
#include "runtime/reflection/TypeOf.h"
#include "runtime/value/Value.h"

namespace Kro {

template <class T>
class ValueGenericIf;

/// A reflection object of a copy of `value`. Inline wherever an attribute is read: a call costs as much as the rest of
/// the object's making.
template <class T>
[[gnu::always_inline]] inline Ptr<GenericIf> genericIfOf(T const& value, bool isConst = false) {
  return adopt(new ValueGenericIf<T>(value, isConst));
}

namespace detail {

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

template <class X>
inline constexpr bool hasFieldConstructor = isMadeOfFields<X>(StoredPositions<X>());

template <class X, std::size_t... I>
constexpr auto storedNames(std::index_sequence<I...>) {
  return std::array<std::string_view, sizeof...(I)>{At<X, I>::info.name...};
}
/// The names of the parameters of the list constructor of `X`.
template <class X>
constexpr auto listParameters() {
  if constexpr (!Described<X>) {
    return std::array<std::string_view, 1>{"value"};
  } else if constexpr (hasFieldConstructor<X>) {
    return storedNames<X>(StoredPositions<X>());
  } else {
    return std::array<std::string_view, 0>();
  }
}
template <class X>
inline constexpr auto listParameterNames = listParameters<X>();

template <class X, std::size_t... I>
X fromList(LinkedQueue<GenericIf>& queue, std::index_sequence<I...>) {
  return std::make_from_tuple<X>(std::tuple<typename At<X, I>::Type...>{
      Argument<typename At<X, I>::Type>::as(queue.deq().get(), At<X, I>::info.name)...});
}

}  // namespace detail

/// A value of type `T` behind the interface of reflection. It owns its copy and refers to nothing.
template <class T>
class VORNACL_API ValueGenericIf : public GenericIf {
 public:
  ValueGenericIf(T const& value, bool isConst) : GenericIf(isConst), value_(value) {}
  static Ptr<ValueGenericIf> GenericIf_Is(T const& value, bool isConst) {
    return adopt(new ValueGenericIf(value, isConst));  // its notification is active from the start
  }

  T const& value() const { return value_; }
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
  Ptr<GenericIf> attributeOp(AttributeOp const& op, Ptr<GenericIf const> const& index,
                             Ptr<GenericIf> const& arg) override;
  Ptr<GenericIf> clone() override { return GenericIf_Is(value_, isConst()); }
  using GenericIf::clone;
  /// One read follows the other, and each object goes before the next one comes.
  static void* operator new(std::size_t size) {
    void* const spare = detail::SparePlace::take(size);
    return spare != nullptr ? spare : PtrInterface::operator new(size);
  }
  static void operator delete(void* object, std::size_t size) noexcept {
    if (!detail::SparePlace::keep(object, size)) {
      PtrInterface::operator delete(object, size);
    }
  }

  /// Replaces the whole value, without checks and without notification, on a const object, too.
  virtual void valIs(T const& value) { value_ = value; }

  /// A new object built from an argument list: the constructor's parameters in order, or nothing for the default.
  static Ptr<ValueGenericIf> genericIfListConstructor(Ptr<GenericIf const> const& list) { return fromList(list.get()); }
  static Ptr<ValueGenericIf> fromList(GenericIf const* list);

 private:
  template <std::size_t I>
  Ptr<GenericIf> readAttribute() const;
  template <std::size_t I>
  static std::span<std::string_view const> parametersOf();
  using Operation = Ptr<GenericIf> (*)(ValueGenericIf&, AttributeOp const&, Ptr<GenericIf const> const&,
                                       Ptr<GenericIf> const&);
  /// Does `op` on the I-th attribute.
  template <std::size_t I>
  static Ptr<GenericIf> attributeAt(ValueGenericIf& self, AttributeOp const& op, Ptr<GenericIf const> const& index,
                                    Ptr<GenericIf> const& arg);
  /// The same for all but the common case, a read that cannot fail: errors can name the place.
  template <std::size_t I>
  [[gnu::noinline]] Ptr<GenericIf> placedOp(AttributeOp const& op, Ptr<GenericIf const> const& index,
                                            Ptr<GenericIf> const& arg);
  /// What to do for each id from 2 on.
  template <std::size_t... I>
  static constexpr auto operationTable(std::index_sequence<I...>);

  T value_;
};

/// The type object of a value type or enumeration.
template <class T>
class VORNACL_API ValueTypeOf : public KroType {
 public:
  explicit ValueTypeOf(String8 fullName) : KroType(std::move(fullName)) {}
  using KroType::genericIf;

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
  ReflectionPlace const place(*type, detail::listParameterNames<T>);
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
  if constexpr (Described<T>) {
    value.check();
  }
  return GenericIf_Is(value, false);
}

template <class T>
template <std::size_t I>
Ptr<GenericIf> ValueGenericIf<T>::attributeAt(ValueGenericIf& self, AttributeOp const& op,
                                              Ptr<GenericIf const> const& index, Ptr<GenericIf> const& arg) {
  if constexpr (!requires { At<T, I>::info.call; }) {
    if (op.opId == AttributeOp::read && !index) {
      return self.readAttribute<I>();
    }
  }
  return self.placedOp<I>(op, index, arg);
}

template <class T>
template <std::size_t I>
Ptr<GenericIf> ValueGenericIf<T>::placedOp(AttributeOp const& op, Ptr<GenericIf const> const& index,
                                           Ptr<GenericIf> const& arg) {
  constexpr auto& d = At<T, I>::info;
  constexpr bool isFunction = requires { d.call; };
  constexpr bool isWritable = requires { (value_.*(d.set))(std::declval<typename At<T, I>::Type>()); };
  Ptr<KroType const> const own = type();
  ReflectionPlace const place(*own, d.id, d.name, op.opId, isWritable ? "0 or 128" : "0", parametersOf<I>());
  if (index) {
    throwBadIndexAttrException(String8(d.name));
  }
  if constexpr (isFunction) {
    if (op.opId == AttributeOp::read) {
      return detail::callWith(d.call, value_, arg.get(), d.arguments, d.name, isConst());
    }
  } else if constexpr (isWritable) {
    if (op.opId == AttributeOp::write) {
      (value_.*(d.set))(detail::Argument<typename At<T, I>::Type>::as(arg.get(), d.name));
      return nullptr;
    }
  }
  throwOpNotSupportedException(String8(d.name), op.opId, false);
}

template <class T>
template <std::size_t... I>
constexpr auto ValueGenericIf<T>::operationTable(std::index_sequence<I...>) {
  std::array<Operation, sizeof...(I)> table{};
  // A function without an id has no place in it.
  ((At<T, I>::info.id >= 2
        ? void(table[static_cast<std::size_t>(At<T, I>::info.id) - 2] = &ValueGenericIf::attributeAt<I>)
        : void()),
   ...);
  return table;
}

template <class T>
template <std::size_t I>
Ptr<GenericIf> ValueGenericIf<T>::readAttribute() const {
  constexpr auto& d = At<T, I>::info;
  using F = typename At<T, I>::Type;
  if constexpr (At<T, I>::Descriptor::isStored) {
    return genericIfOf<F>(At<T, I>::of(value_), isConst());
  } else if constexpr (requires { d.get; }) {
    return genericIfOf<F>((value_.*(d.get))(), isConst());
  } else {
    return genericIfOf<F>(d.value, isConst());
  }
}

template <class T>
template <std::size_t I>
std::span<std::string_view const> ValueGenericIf<T>::parametersOf() {
  if constexpr (requires { At<T, I>::info.arguments; }) {
    return At<T, I>::info.arguments;
  }
  return {};
}

template <class T>
Ptr<GenericIf> ValueGenericIf<T>::attributeOp(AttributeOp const& op, Ptr<GenericIf const> const& index,
                                              Ptr<GenericIf> const& arg) {
  requireModifiable(op);
  if constexpr (Enumeration<T>) {
    ReflectionPlace const place(*type(), static_cast<AttributeId>(op.attributeId), {}, op.opId, "0");
    if (op.attributeId != 1) {
      throwUnknownAttrException(String8(enumerationName<T>()));
    }
    if (op.opId != AttributeOp::read) {
      throwOpNotSupportedException(String8(enumerationName<T>()), op.opId, false);
    }
    return GenericIf_Is(value_, false);
  } else {
    if constexpr (requires { value_ == value_; }) {
      if (op.attributeId == 0 && op.opId == AttributeOp::equals) {
        ReflectionPlace const place(*type(), 0, "the whole value", op.opId, "100");
        return genericIfOf(value_ == detail::Argument<T>::as(index.get(), "kroOpArg"), isConst());
      }
    }
    if constexpr (Described<T>) {
      static constexpr auto table = operationTable(std::make_index_sequence<attributeCount<T>>());
      auto const position = op.attributeId - 2U;  // ids run without gaps
      if (position < table.size() && table[position] != nullptr) {
        return table[position](*this, op, index, arg);
      }
    }
    return GenericIf::attributeOp(op, index, arg);
  }
}

// --- type objects ---

template <BuiltinType T>
Ptr<KroType const> Builtin<T>::_fwkType() {
  return slottedType<T, ValueTypeOf<T>>(nullptr, String8(builtinName<T>));
}

// The built-in types are made in the library alone: each has one type object.
extern template class VORNACL_API Builtin<bool>;
extern template class VORNACL_API Builtin<std::uint8_t>;
extern template class VORNACL_API Builtin<std::uint16_t>;
extern template class VORNACL_API Builtin<std::uint32_t>;
extern template class VORNACL_API Builtin<std::uint64_t>;
extern template class VORNACL_API Builtin<std::int32_t>;
extern template class VORNACL_API Builtin<double>;
extern template class VORNACL_API Builtin<String8>;
extern template class VORNACL_API Builtin<void*>;
extern template class VORNACL_API Builtin<Name>;

}  // namespace Kro
