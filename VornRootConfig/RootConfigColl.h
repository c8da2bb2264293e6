// All root configurations of a system: the top of the model.
#pragma once

#include "VornRootConfig/RootConfig.h"

namespace Vorn {

/// All root configurations of a system by their id, and for each chip the one that failed last. Two configurations may
/// have the same chip. The last failed ones are references: removing a configuration leaves its entry there.
class VORNACL_API RootConfigColl : public Kro::EntityOf<RootConfigColl> {
 public:
  class NotifieeConst;
  class KroNboAttrLogSa;
  struct Attributes;

  explicit RootConfigColl(Kro::Name name);
  ~RootConfigColl() override;

  Observers& kroObservers() const { return observers_; }

  using ChipRootConfigMap = Kro::HashMap<RootConfig, std::uint32_t, RootConfig>;

  /// The configuration of that id, or null; counts one read.
  Kro::Ptr<RootConfig> chipRootConfig(std::uint32_t rootConfigId) const {
    return counted(chipRootConfig_[rootConfigId]);
  }
  /// Number of configurations; counts one read.
  std::uint32_t chipRootConfigSize() const { return counted(chipRootConfig_.size()); }
  /// The map itself, for iterators; counts nothing. Its order is not defined for users.
  ChipRootConfigMap const& chipRootConfigMap() const { return chipRootConfig_; }
  /// An iterator at the first member, for the iterator remover.
  ChipRootConfigMap::Iterator chipRootConfigIterator() { return ChipRootConfigMap::Iterator(chipRootConfig_); }
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

 private:
  ChipRootConfigMap chipRootConfig_{4};

 public:
  /// Entry of `chipRootConfigLastFailed`; its key is read from the referenced configuration, which counts a read there.
  using KroChipRootConfigLastFailed = Kro::ReferenceRecord<RootConfig, &RootConfig::chipId>;
  using ChipRootConfigLastFailedMap = Kro::HashMap<KroChipRootConfigLastFailed, ChipId, RootConfig const>;

  /// The configuration that failed last on a chip, or null; counts one read.
  Kro::Ptr<RootConfig const> chipRootConfigLastFailed(ChipId chipId) const;
  /// Number of chips with a last failed configuration; counts one read.
  std::uint32_t chipRootConfigLastFailedSize() const { return counted(chipRootConfigLastFailed_.size()); }
  /// The map itself, for iterators; counts nothing. Its order is not defined for users.
  ChipRootConfigLastFailedMap const& chipRootConfigLastFailedMap() const { return chipRootConfigLastFailed_; }
  /// An iterator at the first entry, for the iterator remover.
  ChipRootConfigLastFailedMap::Iterator chipRootConfigLastFailedIterator() {
    return ChipRootConfigLastFailedMap::Iterator(chipRootConfigLastFailed_);
  }
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

 private:
  ChipRootConfigLastFailedMap chipRootConfigLastFailed_{4};  // destroyed in reverse: these entries go first

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

struct RootConfigColl::Attributes {
  using T = RootConfigColl;
  using N = T::NotifieeConst;
  static constexpr std::string_view typeName = "Vorn::RootConfigColl";
  static constexpr bool isNamed = true;
  static constexpr auto all = std::tuple{
      Kro::members<258>("chipRootConfig", &T::chipRootConfig_, &T::chipRootConfigIs, &T::chipRootConfigDel,
                        &T::chipRootConfigDel, &T::chipRootConfigNotify, &N::onChipRootConfig),
      Kro::references<259>("chipRootConfigLastFailed", &T::chipRootConfigLastFailed_, &T::chipRootConfigLastFailedIs,
                           &T::chipRootConfigLastFailedDel, &T::chipRootConfigLastFailedDel,
                           &T::chipRootConfigLastFailedNotify, &N::onChipRootConfigLastFailed),
  };
};

}  // namespace Vorn

extern template class Kro::EntityOf<Vorn::RootConfigColl>;
