// The count word and the counted pointer.
#include "runtime/core/Ptr.h"

#include <latch>
#include <thread>

#include <gtest/gtest.h>

#include "runtime/core/String8.h"
#include "runtime/type/KroType.h"

namespace {

using Kro::Ptr;

int destroyed = 0;
int handled = 0;

/// Counts its end, and does what it is told when its last reference goes.
class Counted : public Kro::PtrInterface {
 public:
  enum class Then { nothing, takesAndDropsAPointer, throws, keepsAPointer };
  explicit Counted(Then then = Then::nothing) : then_(then) {}
  ~Counted() override {
    ++destroyed;
    if (then_ == Then::keepsAPointer) {
      static_cast<void>(Kro::share(this).release());
    }
  }
  void zeroReferencesIs(bool) override {
    ++handled;
    if (then_ == Then::takesAndDropsAPointer) {
      Ptr<Counted> const a = Kro::share(this);
    } else if (then_ == Then::throws) {
      throw 1;
    }
  }
  using VFPtrInterface::bitIs;

  Ptr<Counted> next;

 private:
  Then then_;
};
class Derived : public Counted {};

// A raw pointer does not say whether its reference is counted; const stays const; a base is no derived.
static_assert(!std::is_convertible_v<Counted*, Ptr<Counted>> && !std::is_constructible_v<Ptr<Counted>, Counted*>);
static_assert(!std::is_constructible_v<Ptr<Counted>, Ptr<Counted const>>);
static_assert(!std::is_constructible_v<Ptr<Derived>, Ptr<Counted>>);

/// Everything holds with plain and with atomic counting.
class PtrTest : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    Kro::VFPtrInterface::enableThreadSafePointers = GetParam() ? 1 : 0;
    destroyed = handled = 0;
  }
  void TearDown() override { Kro::VFPtrInterface::enableThreadSafePointers = 0; }
};
INSTANTIATE_TEST_SUITE_P(PlainAndAtomic, PtrTest, testing::Bool());

TEST_P(PtrTest, CountsItsReferences) {
  Ptr<Counted> first = Kro::adopt(new Counted);
  EXPECT_EQ(first->countWord(), 1U) << "the first pointer adopts";
  {
    Ptr<Counted> const second = first;
    Ptr<Kro::PtrInterface const> const base = second;
    Ptr<Kro::PtrInterface> moved = std::move(first);
    EXPECT_EQ(second->countWord(), 3U);
    EXPECT_EQ(moved, base);
    EXPECT_EQ(Kro::ptrCast<Derived>(moved), nullptr);
    first = Kro::ptrCast<Counted>(moved);
    EXPECT_EQ(first->countWord(), 4U);
  }
  EXPECT_EQ(first->countWord(), 1U);
  EXPECT_EQ(Kro::adopt(new Counted(*first))->countWord(), 1U) << "a copy has a word of its own";
  EXPECT_EQ(destroyed, 1);
  for (auto const then : {Counted::Then::takesAndDropsAPointer, Counted::Then::throws}) {
    destroyed = handled = 0;
    Kro::adopt(new Counted(then)) = nullptr;
    EXPECT_EQ(std::pair(handled, destroyed), std::pair(1, 1)) << "once, whatever the handler does";
  }
}

TEST_P(PtrTest, ReleasesWhatOnlyBits29And31AreLeftOf) {
  for (std::uint32_t bits = 0; bits < 8; ++bits) {
    destroyed = handled = 0;
    auto* const object = new Counted;
    object->hasNotificationActiveIs((bits & 1U) != 0);
    object->bitIs(0x40000000, (bits & 2U) != 0);
    object->kroMarkedForDeletionIs((bits & 4U) != 0);
    EXPECT_EQ(object->countWord(), (bits << 29U) + 1);
    object->referencesInc();
    std::uint32_t const owned = (bits & 2U) != 0 ? 0x40000000 : 0;
    EXPECT_EQ(object->referencesDec(), owned + 1) << "masked result of " << bits;
    EXPECT_EQ(object->referencesDec(), owned);
    EXPECT_EQ(destroyed, owned == 0 ? 1 : 0) << bits;
    if (owned != 0) {
      object->bitIs(0x40000000, false);
      Kro::share(object) = nullptr;
    }
    EXPECT_EQ(destroyed, 1);
  }
}

TEST_P(PtrTest, AssignsTheNewBeforeItDropsTheOld) {
  // Each object is held by its predecessor alone, which the assignment destroys.
  Ptr<Counted> head = Kro::adopt(new Counted);
  head->next = Kro::adopt(new Counted);
  head->next->next = Kro::adopt(new Counted);
  Counted* const third = head->next->next.get();
  head = head->next;
  head = std::move(head->next);
  EXPECT_EQ(head.get(), third);
  EXPECT_EQ(third->countWord(), 1U);
  EXPECT_EQ(destroyed, 2);

  // The destructor that an assignment runs sees the field as it will be.
  static Ptr<Counted> field;
  static Counted* seen = nullptr;
  struct Looker : Counted {
    ~Looker() override { seen = field.get(); }
  };
  field = Kro::adopt(new Looker);
  field = head;
  EXPECT_EQ(seen, third);
  field = nullptr;
}

TEST_P(PtrTest, TracksWhatIsAliveAndForgetsWhatIsMeantToStay) {
  Kro::ptrifTrackOn_ = 1;
  std::size_t const before = Kro::PtrTrack::live();
  Kro::adopt(new Counted) = nullptr;
  auto* const leaked = new Counted;
  EXPECT_EQ(Kro::PtrTrack::live(), before + 1);
  leaked->referencesLeak();
  EXPECT_EQ(leaked->countWord(), 2U);
  EXPECT_EQ(Kro::PtrTrack::live(), before);
  Kro::ptrifTrackOn_ = 0;
  EXPECT_EQ(leaked->referencesDec(), 1U);
  EXPECT_EQ(leaked->referencesDec(), 0U);
}

TEST(Ptr, CountsAcrossThreadsWhenTheSwitchIsOn) {
  Kro::VFPtrInterface::enableThreadSafePointers = 1;
  Ptr<Counted> const object = Kro::adopt(new Counted);
  Kro::String8 const text("shared");
  std::latch start(2);
  auto const use = [&] {
    start.arrive_and_wait();
    for (int i = 0; i < 2000000; ++i) {
      Ptr<Counted> const copy = object;
      Kro::String8 const other = text;
      object->kroMarkedForDeletionIs(i % 2 == 0);
    }
  };
  std::thread other(use);
  use();
  other.join();
  Kro::VFPtrInterface::enableThreadSafePointers = 0;
  EXPECT_EQ(object->countWord(), 1U);
  EXPECT_EQ(text.data().countWord(), 1U);
}

#ifndef NDEBUG
TEST(PtrDeathTest, StopsWhereAPointerToADyingObjectIsKept) {
  EXPECT_DEATH(Kro::adopt(new Counted(Counted::Then::keepsAPointer)) = nullptr, "a pointer to a dying object was kept");
}
#endif

}  // namespace
