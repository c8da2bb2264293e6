#include "runtime/reflection/EntityReflection.h"

#include "runtime/reflection/Path.h"

namespace Kro {

// --- the attributes that every entity has ---

Ptr<KroType const> entityBaseType() {
  // First, since this takes the registry's lock: who holds that lock may wait for the variable below.
  Ptr<KroType const> const nothing = fwkTypeOf<void*>();
  static KroType const* const type = [&] {
    auto* const made = new KroType("Kro::Entity");
    made->referencesLeak();
    made->isEntityIs(true);
    auto const attribute = made->attrIs(String8(kroNboAttrLogSaForMsgChannelName), nothing, nullptr, nullptr,
                                        detail::FlagsOf::operation, kroNboAttrLogSaForMsgChannelId);
    attribute->introspectionFlagsIs(detail::introspectOperation);
    attribute->toolKindIs("function");
    made->attributeQEnq(attribute);
    made->freeze();
    return made;
  }();
  return share(type);
}

Ptr<KroType const> ptrInterfaceType() {
  static KroType const* const type = [] {
    auto* const made = new KroType("Kro::PtrInterface");
    made->referencesLeak();
    made->freeze();
    return made;
  }();
  return share(type);
}

// --- text that refers to entities ---

namespace {

thread_local EntityTextScope const* innermostScope = nullptr;

}  // namespace

EntityTextScope::EntityTextScope(Ptr<Entity> root)
    : root_(std::move(root)), outer_(std::exchange(innermostScope, this)) {}
EntityTextScope::~EntityTextScope() { innermostScope = outer_; }

String8 valueToStrepOfRawPtr(Entity const* entity, std::type_info const&) {
  return entity != nullptr ? valueToStrep(entity->fullName()) : String8("null");
}

Ptr<Entity> sequenceToValueOfPtr(String8::IteratorConst& it, String8::IteratorConst const& end, Entity*) {
  if (restOf(it, end).substr(0, 4) == "null") {
    it.indexIs(it.index() + 4);
    return nullptr;
  }
  long long const column = it.index();
  String8 const path = sequenceToValue(it, end, static_cast<String8*>(nullptr));
  if (innermostScope == nullptr || !innermostScope->root_) {
    throwRangeException("reference to entity " + path + format(" at column %lld: expected null, ", column) +
                        "for no root is given to read it from");
  }
  Ptr<GenericIf> const found = entityAtPath(innermostScope->root_, path);
  return share(static_cast<GenericIfEntity&>(*found).rawEntity());
}

// --- reflection objects of entities ---

GenericIfEntity::~GenericIfEntity() = default;

void GenericIfEntity::requireEntity() const {
  if (!entity_) {
    String8 const typeName = type() ? type()->fullName() : String8("Kro::Entity");
    throw TypeException(typeName, "no entity: expected an object that reflects a " + typeName);
  }
}

String8 GenericIfEntity::name() const { return entity_ ? entity_->name().string() : String8(); }

Ptr<GenericIf> GenericIfEntity::attributeOp(AttributeOp const& op, Ptr<GenericIf const> const& index,
                                            Ptr<GenericIf> const& arg) {
  if (static_cast<AttributeId>(op.attributeId) != kroNboAttrLogSaForMsgChannelId) {
    return GenericIf::attributeOp(op, index, arg);
  }
  // Takes a stream adapter, which no reflection object stands for.
  ReflectionPlace const place(*type(), kroNboAttrLogSaForMsgChannelId, kroNboAttrLogSaForMsgChannelName, op.opId,
                              "none");
  throwOpNotSupportedException(String8(kroNboAttrLogSaForMsgChannelName), op.opId, false);
}

void GenericIfEntity::activitySchedulerIs(ActivityScheduler* scheduler) {
  activity_ = scheduler != nullptr ? std::make_unique<ActivityConfig>(*scheduler, *this) : nullptr;
  if (pending_ == ActivityConfig::nothing) {
    return;
  }
  if (activity_) {
    activity_->schedule();
  } else {
    handleNotification(nullptr);  // what waited on the old scheduler is told now
  }
}

void GenericIfEntity::pendingBulkIs() {
  pending_ = ActivityConfig::bulk;
  if (activity_) {
    activity_->schedule();
  } else {
    handleNotification(nullptr);
  }
}

void GenericIfEntity::pendingIs(AttributeId id) {
  if (pending_ == ActivityConfig::nothing) {
    pending_ = id;
  } else if (pending_ != id && pending_ != ActivityConfig::bulk) {
    pending_ = ActivityConfig::several;
  }
}

}  // namespace Kro
