#include "tools/demo/Changes.h"

#include <algorithm>
#include <utility>

namespace Demo {

Changes::Changes(Tree tree, std::size_t count, std::uint32_t seed)
    : tree_(std::move(tree)),
      acls_(aclsOf(tree_)),
      chips_(inOrderOfKeys(tree_->chipRootConfigMap())),
      random_(seed),
      kinds_(count, Kind::change) {
  for (std::size_t i = 0; i < acls_.size(); ++i) {
    for (auto const& record : acls_[i]->ipRuleByIdMap()) {
      places_.push_back({i, record.key()});
    }
  }
  if (places_.empty()) {
    kinds_.clear();
    return;
  }
  std::size_t const part = count / 10 * 3;
  std::fill_n(kinds_.begin(), part, Kind::add);
  std::fill_n(kinds_.begin() + static_cast<std::ptrdiff_t>(part), count / 10, Kind::control);
  std::fill_n(kinds_.rbegin(), part, Kind::remove);
  shuffle();
}

/// Not that of the standard library, whose result differs from one implementation to another.
void Changes::shuffle() {
  for (std::size_t left = kinds_.size(); left > 1; --left) {
    std::swap(kinds_[left - 1], kinds_[below(left)]);
  }
}

bool Changes::next() {
  if (done_ == kinds_.size()) {
    return false;
  }
  if (places_.empty()) {
    // More was removed than added, so an addition is to come: it takes the place of what may not be possible now.
    std::iter_swap(kinds_.begin() + static_cast<std::ptrdiff_t>(done_),
                   std::find(kinds_.begin() + static_cast<std::ptrdiff_t>(done_), kinds_.end(), Kind::add));
  }
  switch (kinds_[done_++]) {
    case Kind::change:
      change();
      break;
    case Kind::add:
      add();
      break;
    case Kind::remove:
      remove();
      break;
    case Kind::control:
      control();
      break;
  }
  return true;
}

Vorn::IpRuleConfig const& Changes::at(Place const& place) const {
  return acls_[place.acl]->ipRuleByIdMap().find(place.key)->value();
}

void Changes::change() {
  Place const& place = places_[below(places_.size())];
  acls_[place.acl]->ipRuleByIdIs(place.key, altered(at(place)));
}

Changes::Place Changes::freePlace() {
  if (!removed_.empty() && coin()) {
    Place const place = std::exchange(removed_[below(removed_.size())], removed_.back());
    removed_.pop_back();
    if (acls_[place.acl]->ipRuleByIdMap().find(place.key) == nullptr) {
      return place;
    }
  }
  std::size_t const acl = below(acls_.size());
  auto const& map = acls_[acl]->ipRuleByIdMap();
  std::uint32_t const size = map.size();
  while (true) {
    // In front of all, between any two, and behind all; braces, since they draw from left to right.
    Vorn::AceIndex const key{below(size + 2), below(3), below(5000)};
    if (map.find(key) == nullptr) {
      return {acl, key};
    }
  }
}

void Changes::add() {
  Place const place = freePlace();
  Vorn::IpRuleConfig const rule = altered(places_.empty() ? last_ : at(places_[below(places_.size())]));
  acls_[place.acl]->ipRuleByIdIs(place.key, rule);
  places_.push_back(place);
}

void Changes::remove() {
  std::size_t const index = below(places_.size());
  Place const place = std::exchange(places_[index], places_.back());
  places_.pop_back();
  last_ = acls_[place.acl]->ipRuleByIdDel(place.key);
  removed_.push_back(place);
}

void Changes::control() {
  auto const& chip = chips_[below(chips_.size())];
  switch (below(6)) {
    case 0:
      mapName(*chip);
      break;
    case 1:
      chip->actionIs(Vorn::RootActionInstance((static_cast<unsigned>(chip->action()) + 1 + below(2)) % 3));
      break;
    case 2:
      chip->vornRootKickInc(1 + below(3));
      break;
    case 3:
      chip->activeIs(!chip->active());
      break;
    case 4:
      chip->vornRootKickTimeIs(static_cast<double>(done_) / 1000);
      break;
    default:
      if (tree_->chipRootConfigLastFailed(chip->chipId())) {
        tree_->chipRootConfigLastFailedDel(chip->chipId());
      } else {
        tree_->chipRootConfigLastFailedIs(chip);
      }
  }
}

/// Maps the name of one of all ACLs on this chip to another id, or takes it out.
void Changes::mapName(Vorn::RootConfig& chip) {
  auto const& mapping = chip.aclKeyToAclId();
  Zil::AclKey const key(Acl::ip, acls_[below(acls_.size())]->cliName().string());
  auto const* const record = mapping->keyToIdMap().find(key);
  if (record != nullptr && coin()) {
    mapping->keyToIdDel(key);
    return;
  }
  Vorn::AclId const before = record != nullptr ? record->value() : Vorn::AclId();
  Vorn::AclId id = before;
  while (id == before) {
    id = Vorn::AclId(Vorn::ipv4PAcl, static_cast<std::uint8_t>(below(255)), coin() ? Acl::out : Acl::in);
  }
  mapping->keyToIdIs(key, id);
}

Dorix::IpGenPrefix Changes::prefix() {
  Dorix::IpBytes bytes{};
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[i] = static_cast<std::uint8_t>(random_());
  }
  return Dorix::IpGenPrefix::fromBytes(Dorix::IpFamily::ipv4, bytes, below(33));
}

Vorn::L4PortRange Changes::ports() {
  auto const [low, high] = std::minmax({static_cast<std::uint16_t>(random_()), static_cast<std::uint16_t>(random_())});
  return {low, high};
}

Vorn::IpRuleConfig Changes::altered(Vorn::IpRuleConfig const& rule) {
  Vorn::IpRuleConfig result = rule;
  while (result == rule) {
    unsigned const attribute = below(15);
    switch (attribute) {
      case 0:
        result.actionIs(rule.action() == Acl::permit ? Acl::deny : Acl::permit);
        break;
      case 1:
        result.logIs(!rule.log());
        break;
      case 2:
        result.countIs(!rule.count());
        break;
      default:
        Vorn::IpFilter filter = rule.filter();
        alter(filter, attribute);
        result.filterIs(filter);
    }
  }
  return result;
}

void Changes::alter(Vorn::IpFilter& filter, unsigned attribute) {
  switch (attribute) {
    case 3:
      filter.sourceIs(prefix());
      break;
    case 4:
      filter.destinationIs(prefix());
      break;
    case 5:
      filter.sportRangeIs(ports());
      break;
    case 6:
      filter.dportRangeIs(ports());
      break;
    case 7:
      filter.fragmentsIs(!filter.fragments());
      break;
    case 8:
      filter.establishedIs(!filter.established());
      break;
    case 9:
      filter.l4RuleIs(!filter.l4Rule());
      break;
    case 10:
      filter.tcpFlagIs(Vorn::IpFilter::TcpFlag(below(64)));
      break;
    case 11:
      filter.protoIs(static_cast<std::uint8_t>(random_()));
      filter.matchProtoIs(coin());
      break;
    case 12:
      filter.dscpIs(static_cast<std::uint8_t>(below(64)));
      filter.matchDscpIs(coin());
      break;
    case 13:
      filter.ttlIs(static_cast<std::uint8_t>(random_()));
      filter.includeTtlIs(coin());
      break;
    default:
      filter.icmpTypeIs(static_cast<std::uint16_t>(below(256)));
      filter.icmpCodeIs(coin() ? Vorn::IpFilter::icmpAll : static_cast<std::uint16_t>(below(256)));
  }
}

}  // namespace Demo
