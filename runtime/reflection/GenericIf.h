// Reflection objects: any value or entity behind one interface, its attributes by number or by name.
#pragma once

#include <memory>
#include <vector>

#include "runtime/entity/Notifiee.h"
#include "runtime/reflection/Errors.h"
#include "runtime/type/KroType.h"

namespace Kro {

/// A reflection object. Operations take and yield reflection objects; an operation id of 128 and above modifies. Used
/// by one thread at a time.
class VORNACL_API GenericIf : public PtrInterface::Notifiee {
 public:
  class List_;
  class AttributeIteratorConst;
  using AttributeIterator = AttributeIteratorConst;

  /// An attribute and what is done with it.
  struct AttributeOp {
    using OpId = std::int32_t;
    static constexpr OpId read = 0;      ///< read, call, or the member with the index as key
    static constexpr OpId size = 1;      ///< number of members
    static constexpr OpId version = 2;   ///< version word of a collection
    static constexpr OpId has = 3;       ///< whether there is a member with the index as key
    static constexpr OpId equals = 100;  ///< on attribute 0: equality of the whole value with the index
    static constexpr OpId write = 128;   ///< write, or create a member from an argument list
    static constexpr OpId del = 129;     ///< delete the member with the index as key
    static constexpr OpId firstModifying = 128;

    std::uint32_t attributeId = 0;
    OpId opId = read;
  };

  /// The type of the value or entity.
  virtual Ptr<KroType const> type() const;
  /// The address of the held value (of the entity) for its own type; throws `TypeException` for any other.
  virtual void* voidPtrIs(Ptr<KroType const> const& type) const;
  virtual String8 attributeString(AttributeId id) const;
  /// The number of the attribute of that name; throws `UnknownAttrException`.
  virtual AttributeId attributeId(String8 const& name) const;
  /// Does `op`; `index` is an index or key, `arg` the value to write or the argument list.
  virtual Ptr<GenericIf> attributeOp(AttributeOp const& op, Ptr<GenericIf const> const& index,
                                     Ptr<GenericIf> const& arg);
  /// The text form of the value, or of a reference to the entity.
  virtual String8 strRep() const;
  virtual void kroDoZombieReactors(bool zombie);
  /// Iterators over a collection attribute, from the first member or from a key.
  virtual AttributeIteratorConst attributeIteratorConst(AttributeId id) const;
  virtual AttributeIteratorConst attributeIteratorKeyConst(AttributeId id, Ptr<GenericIf const> const& key) const;
  /// What an iterator of this object does, for the iterator itself. The operations on the current member throw
  /// `InternalException` where there is none.
  virtual Ptr<GenericIf> attributeIterator_iterObj(AttributeIteratorConst const& at);
  virtual Ptr<GenericIf> attributeIterator_iterObj(AttributeIteratorConst const& at) const;
  virtual void attributeIterator_iterInc(AttributeIteratorConst& at) const;
  virtual Ptr<GenericIf> attributeIterator_iterKey(AttributeIteratorConst const& at) const;
  virtual AttributeIteratorConst attributeIterator_iterClone(AttributeIteratorConst const& at) const;
  virtual bool attributeIterator_nonNull(AttributeIteratorConst const& at) const;
  virtual void attributeIterator_iterDel(AttributeIteratorConst& at) const;
  virtual AttributeIterator attributeIterator(AttributeId id);
  virtual AttributeIterator attributeIteratorKey(AttributeId id, Ptr<GenericIf const> const& key);
  virtual Ptr<GenericIf> clone();
  Ptr<GenericIf> clone() const { return const_cast<GenericIf*>(this)->clone(); }

  /// An attribute of the entity changed: `key` is its key's reflection object. Without a key (`onAttribute(id)` of the
  /// observer base) the attribute has none, or changed more than once since it was told last. Both do nothing in the
  /// base; derive from the entity type's `GenericIf_` to hear them.
  virtual void onAttribute(AttributeId id, Ptr<GenericIf> const& key);
  using PtrInterface::NotifieeConst::onAttribute;

  bool isConst() const { return isConst_; }

  /// Shorter forms for callers: read, write and call by name; read the member of a collection.
  Ptr<GenericIf> attribute(String8 const& name, Ptr<GenericIf const> const& key = nullptr);
  void attributeIs(String8 const& name, Ptr<GenericIf> const& value);
  Ptr<GenericIf> call(String8 const& name, std::vector<Ptr<GenericIf>> const& arguments);

 protected:
  explicit GenericIf(bool isConst) : isConst_(isConst) {}
  /// Throws the const error for a modifying operation on a const object.
  void requireModifiable(AttributeOp const& op) const {
    if (op.opId >= AttributeOp::firstModifying && isConst_) {
      throwConstException("attempting to modify a const instance");
    }
  }

 private:
  bool isConst_;
  [[maybe_unused]] bool second_ = false;
};

/// An ordered list of reflection objects: the arguments of a function or of a constructor.
class VORNACL_API GenericIf::List_ final : public GenericIf {
 public:
  explicit List_(std::vector<Ptr<GenericIf>> elements = {}) : GenericIf(false), elements_(std::move(elements)) {}
  static Ptr<List_> of(std::vector<Ptr<GenericIf>> elements) { return adopt(new List_(std::move(elements))); }
  std::vector<Ptr<GenericIf>> const& elements() const { return elements_; }
  String8 strRep() const override;

 private:
  std::vector<Ptr<GenericIf>> elements_;
};

/// Stands on a member of a collection attribute; holds the member and the reflection object.
class VORNACL_API GenericIf::AttributeIteratorConst {
 public:
  /// Where the iterator stands, as its collection tells.
  class State {
   public:
    virtual ~State();
    virtual bool nonNull() const = 0;
    virtual void advance() = 0;
    virtual Ptr<GenericIf> object(bool isConst) const = 0;
    virtual Ptr<GenericIf> key() const = 0;
    virtual std::unique_ptr<State> clone() const = 0;
  };

  AttributeIteratorConst() = default;
  AttributeIteratorConst(Ptr<GenericIf const> owner, AttributeId id, std::unique_ptr<State> state)
      : owner_(std::move(owner)), id_(id), state_(std::move(state)) {}
  AttributeIteratorConst(AttributeIteratorConst const& other)
      : owner_(other.owner_), id_(other.id_), state_(other.state_ ? other.state_->clone() : nullptr) {}
  AttributeIteratorConst(AttributeIteratorConst&&) noexcept = default;
  AttributeIteratorConst& operator=(AttributeIteratorConst const& other) {
    return *this = AttributeIteratorConst(other);
  }
  AttributeIteratorConst& operator=(AttributeIteratorConst&&) noexcept = default;

  AttributeId attributeId() const { return id_; }
  explicit operator bool() const { return owner_ && owner_->attributeIterator_nonNull(*this); }
  /// The current member, its key, and a step to the next one; precondition: there is a member.
  Ptr<GenericIf> object() const { return owner().attributeIterator_iterObj(*this); }
  Ptr<GenericIf> key() const { return owner().attributeIterator_iterKey(*this); }
  AttributeIteratorConst& operator++() {
    owner().attributeIterator_iterInc(*this);
    return *this;
  }
  State* state() const { return state_.get(); }
  void stateDel() { state_ = nullptr; }

 private:
  GenericIf const& owner() const;

  Ptr<GenericIf const> owner_;
  AttributeId id_ = 0;
  std::unique_ptr<State> state_;
};

/// The elements of an argument list, taken one by one.
template <class T>
class LinkedQueue {
 public:
  explicit LinkedQueue(std::vector<Ptr<T>> const& elements) : elements_(elements) {}
  bool empty() const { return next_ == elements_.size(); }
  /// The next element, null when there is none.
  Ptr<T> deq() { return empty() ? nullptr : elements_[next_++]; }

 private:
  std::vector<Ptr<T>> elements_;
  std::size_t next_ = 0;
};

/// The elements of `list`; throws `TypeException` for null ("List") and for any other object.
VORNACL_API LinkedQueue<GenericIf> argumentQueue(GenericIf const* list);

/// The address of what an argument holds, for its parameter's type; throws `TypeException` naming the parameter.
VORNACL_API void* argumentOf(GenericIf const* argument, Ptr<KroType const> const& wanted, std::string_view parameter);

}  // namespace Kro
