#include "VornRootConfig/RootConfigColl.h"

#include "runtime/entity/EntityOps.h"

namespace Vorn {

using At = RootConfigColl::Attributes;

RootConfigColl::RootConfigColl(Kro::Name name)
    : Entity(std::move(name)), chipRootConfig_(4), chipRootConfigLastFailed_(4) {}

RootConfigColl::~RootConfigColl() {
  Kro::removeAllFinally(*this, At::chipRootConfig);
  Kro::forgetObservers(observers_);
}

RootConfigColl::NotifieeConst::~NotifieeConst() = default;
RootConfigColl::Notifiee::~Notifiee() = default;

Kro::Ptr<RootConfigColl> rootConfigCollFactory(Kro::Name name) {
  return Kro::adopt(new RootConfigColl(std::move(name)));
}

Kro::Ptr<RootConfig> RootConfigColl::chipRootConfig(std::uint32_t rootConfigId) const {
  kroCountRead();
  return chipRootConfig_[rootConfigId];
}

std::uint32_t RootConfigColl::chipRootConfigSize() const {
  kroCountRead();
  return chipRootConfig_.size();
}

Kro::Ptr<RootConfig> RootConfigColl::chipRootConfigIs(std::uint32_t rootConfigId, ChipId chipId) {
  return Kro::getOrCreate(
      *this, At::chipRootConfig, rootConfigId, [&] { return newChipRootConfig(rootConfigId, chipId); }, chipId);
}

Kro::Ptr<RootConfig> RootConfigColl::newChipRootConfig(std::uint32_t rootConfigId, ChipId chipId) {
  auto member = rootConfigFactory(Kro::valueToStrep(rootConfigId), rootConfigId, chipId);
  Kro::adoptMember(*this, At::chipRootConfig, member);
  return member;
}

Kro::Ptr<RootConfig> RootConfigColl::chipRootConfigDel(std::uint32_t rootConfigId) {
  return Kro::removeEntityByKey(*this, At::chipRootConfig, rootConfigId);
}
Kro::Ptr<RootConfig> RootConfigColl::chipRootConfigDel(ChipRootConfigMap::Iterator& iterator) {
  return Kro::removeEntityAt(*this, At::chipRootConfig, iterator);
}
void RootConfigColl::chipRootConfigDelAll() { Kro::removeAll(*this, At::chipRootConfig); }
void RootConfigColl::chipRootConfigNotify(std::uint32_t rootConfigId) {
  Kro::tellKey(*this, At::chipRootConfig, rootConfigId);
}

Kro::Ptr<RootConfig const> RootConfigColl::chipRootConfigLastFailed(ChipId chipId) const {
  kroCountRead();
  auto* const entry = chipRootConfigLastFailed_.find(chipId);
  return entry != nullptr ? entry->referenced() : nullptr;
}

std::uint32_t RootConfigColl::chipRootConfigLastFailedSize() const {
  kroCountRead();
  return chipRootConfigLastFailed_.size();
}

void RootConfigColl::chipRootConfigLastFailedIs(Kro::Ptr<RootConfig const> const& configuration) {
  if (!configuration) {
    Kro::throwRangeException(
        "null _chipRootConfigLastFailed parameter to mutator for Vorn::RootConfigColl::chipRootConfigLastFailed not "
        "allowed\"");
  }
  ChipId const chipId = configuration->chipId();
  Kro::Ptr<RootConfigColl> const held = Kro::share(this);  // the old one's end tells observers, who may drop this
  if (auto* const entry = chipRootConfigLastFailed_.find(chipId)) {
    if (entry->referenced() == configuration) {
      return;
    }
    observers_.reserveDispatch();
    Kro::clearSweepMark(*entry);
    entry->referencedIs(configuration);
  } else {
    observers_.reserveDispatch();
    newChipRootConfigLastFailed(configuration);
  }
  kroCountMutation();
  chipRootConfigLastFailedNotify(chipId);
}

Kro::Ptr<RootConfigColl::KroChipRootConfigLastFailed> RootConfigColl::newChipRootConfigLastFailed(
    Kro::Ptr<RootConfig const> const& configuration) {
  if (!configuration) {
    Kro::throwInternalException("Vorn::RootConfigColl::newChipRootConfigLastFailed: null configuration");
  }
  auto entry = Kro::adopt(new KroChipRootConfigLastFailed(configuration));
  chipRootConfigLastFailed_.newMember(entry);
  return entry;
}

Kro::Ptr<RootConfig const> RootConfigColl::removeLastFailed(Kro::Ptr<KroChipRootConfigLastFailed> const& entry,
                                                            ChipId chipId) {
  observers_.reserveDispatch();
  Kro::Ptr<RootConfig const> referenced = entry->referenced();
  chipRootConfigLastFailed_.memberDel(entry);
  kroCountMutation();
  chipRootConfigLastFailedNotify(chipId);
  return referenced;
}

Kro::Ptr<RootConfig const> RootConfigColl::chipRootConfigLastFailedDel(ChipId chipId) {
  auto const entry = chipRootConfigLastFailed_[chipId];
  return entry ? removeLastFailed(entry, chipId) : nullptr;
}

Kro::Ptr<RootConfig const> RootConfigColl::chipRootConfigLastFailedDel(
    ChipRootConfigLastFailedMap::Iterator& iterator) {
  auto const entry = iterator.member();
  return chipRootConfigLastFailed_.isMember(entry.get())
             ? removeLastFailed(entry, KroChipRootConfigLastFailed::KroHashLink::key(*entry))
             : nullptr;
}

void RootConfigColl::chipRootConfigLastFailedDelAll() { Kro::removeAll(*this, At::chipRootConfigLastFailed); }
void RootConfigColl::chipRootConfigLastFailedNotify(ChipId chipId) {
  Kro::tellKey(*this, At::chipRootConfigLastFailed, chipId);
}

void RootConfigColl::zeroReferencesIs(bool) { Kro::tellZeroReferences(*this); }
unsigned RootConfigColl::auditErrors(unsigned level) const { return Kro::auditEntity(*this, level); }
Kro::String8 RootConfigColl::attributeString(Kro::AttributeId id) const {
  return Kro::attributeName<RootConfigColl>(*this, id);
}

}  // namespace Vorn
