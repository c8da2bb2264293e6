// All root configurations of a system: the top of the model.
#pragma once

#include "VornRootConfig/RootConfig.h"

namespace Vorn {

/// All root configurations of a system by their id, and for each chip the one that failed last. Two configurations may
/// have the same chip. The last failed ones are references: removing a configuration leaves its entry there.
class VORNACL_API RootConfigColl : public Kro::Entity {
 public:
  class NotifieeConst;
  class Notifiee;
  class KroNboAttrLogSa;
  class GenericIf_;
  class _Type;
  struct Attributes;

  /// Entry of `chipRootConfigLastFailed`; its key is read from the referenced configuration, which counts a read there.
  class VORNACL_API KroChipRootConfigLastFailed final : public Kro::PtrInterface {
   public:
    explicit KroChipRootConfigLastFailed(Kro::Ptr<RootConfig const> referenced) : referenced_(std::move(referenced)) {}

    Kro::Ptr<RootConfig const> const& referenced() const { return referenced_; }
    void referencedIs(Kro::Ptr<RootConfig const> const& referenced) { referenced_ = referenced; }

    struct KroHashLink {
      static ChipId key(KroChipRootConfigLastFailed const& entry) { return keyOfReferenced(*entry.referenced_); }
      static ChipId keyOfReferenced(RootConfig const& configuration) { return configuration.chipId(); }
      static Kro::Ptr<KroChipRootConfigLastFailed>& next(KroChipRootConfigLastFailed& entry) { return entry.next_; }
      static void nextChanged(KroChipRootConfigLastFailed&) {}
    };

   private:
    Kro::Ptr<RootConfig const> referenced_;
    Kro::Ptr<KroChipRootConfigLastFailed> next_;
  };
  using ChipRootConfigMap = Kro::HashMap<RootConfig, std::uint32_t, RootConfig>;
  using ChipRootConfigLastFailedMap = Kro::HashMap<KroChipRootConfigLastFailed, ChipId, RootConfig const>;
  using Observers = Kro::ObserverList<Kro::NotifieeOf<RootConfigColl>>;

  explicit RootConfigColl(Kro::Name name);
  ~RootConfigColl() override;

  /// The configuration of that id, or null; counts one read.
  Kro::Ptr<RootConfig> chipRootConfig(std::uint32_t rootConfigId) const;
  /// Number of configurations; counts one read.
  std::uint32_t chipRootConfigSize() const;
  /// The maps themselves, for iterators; count nothing. Their order is not defined for users.
  ChipRootConfigMap const& chipRootConfigMap() const { return chipRootConfig_; }
  ChipRootConfigLastFailedMap const& chipRootConfigLastFailedMap() const { return chipRootConfigLastFailed_; }
  /// Iterators at the first member, for the iterator removers.
  ChipRootConfigMap::Iterator chipRootConfigIterator() { return ChipRootConfigMap::Iterator(chipRootConfig_); }
  ChipRootConfigLastFailedMap::Iterator chipRootConfigLastFailedIterator() {
    return ChipRootConfigLastFailedMap::Iterator(chipRootConfigLastFailed_);
  }

  /// Gets or creates a configuration, named by the decimal text of its id. An existing one of this chip is returned,
  /// which counts a mutation and tells nobody; one of another chip throws `NameInUseException` and changes nothing.
  Kro::Ptr<RootConfig> chipRootConfigIs(std::uint32_t rootConfigId, ChipId chipId);
  /// Creates a configuration without counting or telling it. Precondition: no member has this id.
  Kro::Ptr<RootConfig> newChipRootConfig(std::uint32_t rootConfigId, ChipId chipId);
  /// Removes a configuration and returns it, without parent; null where there is none.
  Kro::Ptr<RootConfig> chipRootConfigDel(std::uint32_t rootConfigId);
  Kro::Ptr<RootConfig> chipRootConfigDel(ChipRootConfigMap::Iterator& iterator);
  /// Removes every configuration, each counted and told by itself.
  void chipRootConfigDelAll();
  /// Tells the observers that the configuration of this id came or went.
  void chipRootConfigNotify(std::uint32_t rootConfigId);

  /// The configuration that failed last on a chip, or null; counts one read.
  Kro::Ptr<RootConfig const> chipRootConfigLastFailed(ChipId chipId) const;
  /// Number of chips with a last failed configuration; counts one read.
  std::uint32_t chipRootConfigLastFailedSize() const;
  /// Records a configuration as the last failed one of its chip. Null throws `RangeException`.
  void chipRootConfigLastFailedIs(Kro::Ptr<RootConfig const> const& configuration);
  /// Makes an entry without counting or telling it. Precondition: its chip has none.
  Kro::Ptr<KroChipRootConfigLastFailed> newChipRootConfigLastFailed(Kro::Ptr<RootConfig const> const& configuration);
  /// Removes an entry and returns the configuration, or null.
  Kro::Ptr<RootConfig const> chipRootConfigLastFailedDel(ChipId chipId);
  Kro::Ptr<RootConfig const> chipRootConfigLastFailedDel(ChipRootConfigLastFailedMap::Iterator& iterator);
  /// Removes every entry, each counted and told by itself.
  void chipRootConfigLastFailedDelAll();
  /// Tells the observers that the entry of this chip changed.
  void chipRootConfigLastFailedNotify(ChipId chipId);

  void zeroReferencesIs(bool) override;
  Kro::Ptr<Kro::KroType const> fwkType() const override { return _fwkType(); }
  static Kro::Ptr<Kro::KroType const> _fwkType();
  unsigned auditErrors(unsigned level) const override;
  Kro::String8 attributeString(Kro::AttributeId id) const override;
  using Entity::kroNboAttrLogSa;
  bool kroHasAttrLogInterface() const override { return true; }
  Kro::Ptr<Entity::KroNboAttrLogSa> kroNboAttrLogSaIs(Kro_BitSet flags, unsigned mask,
                                                      Kro::Ptr<Kro::NboAttrLog::Out> const& out,
                                                      Kro::PtrInterface* parent) override;

  Observers& kroObservers() const { return observers_; }

 private:
  Kro::Ptr<RootConfig const> removeLastFailed(Kro::Ptr<KroChipRootConfigLastFailed> const& entry, ChipId chipId);

  // Destroyed in reverse: the entries of the last failed configurations go first.
  ChipRootConfigMap chipRootConfig_;
  ChipRootConfigLastFailedMap chipRootConfigLastFailed_;
  mutable Observers observers_;
};

/// A new collection without parent.
VORNACL_API Kro::Ptr<RootConfigColl> rootConfigCollFactory(Kro::Name name);

/// Observes a `RootConfigColl` without changing it.
class VORNACL_API RootConfigColl::NotifieeConst : public Kro::NotifieeOf<RootConfigColl> {
 public:
  ~NotifieeConst() override;
  /// The configuration of this id was created or removed; only the keyed forms are called by the entity.
  virtual void onChipRootConfig(std::uint32_t) {}
  virtual void onChipRootConfigkroImmediate() {}
  virtual void onChipRootConfig() {}
  virtual void onChipRootConfigLastFailed(ChipId) {}
  virtual void onChipRootConfigLastFailedkroImmediate() {}
  virtual void onChipRootConfigLastFailed() {}
};

/// Observes a `RootConfigColl`.
class VORNACL_API RootConfigColl::Notifiee : public RootConfigColl::NotifieeConst {
 public:
  ~Notifiee() override;
};

struct RootConfigColl::Attributes {
  using T = RootConfigColl;
  using N = T::NotifieeConst;
  static constexpr std::string_view typeName = "Vorn::RootConfigColl";
  static constexpr bool isNamed = true;
  static constexpr auto chipRootConfig =
      Kro::members<258>("chipRootConfig", &T::chipRootConfig_, &T::chipRootConfigIs, &T::chipRootConfigDel,
                        &T::chipRootConfigDel, &T::chipRootConfigNotify, &N::onChipRootConfig);
  static constexpr auto chipRootConfigLastFailed =
      Kro::references<259>("chipRootConfigLastFailed", &T::chipRootConfigLastFailed_, &T::chipRootConfigLastFailedIs,
                           &T::chipRootConfigLastFailedDel, &T::chipRootConfigLastFailedDel,
                           &T::chipRootConfigLastFailedNotify, &N::onChipRootConfigLastFailed);
  static constexpr auto all = std::tuple(chipRootConfig, chipRootConfigLastFailed);
};
static_assert(Kro::hasRunningIds<RootConfigColl>());

}  // namespace Vorn
