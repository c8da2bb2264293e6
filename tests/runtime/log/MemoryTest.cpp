// Lack of memory: operations on two connected trees in which each allocation fails in turn, once or with all that
// follow. Whoever calls gets `std::bad_alloc` and finds nothing changed, or the operation is done, or the connection is
// lost and says so. Both trees stay valid, a second try succeeds, connections that live end equal.
#include "runtime/reflection/Path.h"
#include "tests/runtime/log/Harness.h"
#include "tests/support/Allocations.h"

namespace {

using namespace VornTest;
using Kro::NboAttrLog::WireHeader;

class Memory : public LogTest {
 protected:
  /// Sets the scene by a script and does what the words of `act` say while memory is short.
  void play(std::string const& before, std::string const& act) {
    SCOPED_TRACE(before + " | " + act + ", room: " + std::to_string(room));
    for (Lack const lack : {never, once, fromThenOn, toTheEnd}) {
      bool const fits = room == SIZE_MAX || lack <= once;
      for (std::size_t n = 1; fits && tryOut(before, act, lack, n) && !HasFailure(); ++n) {
      }
    }
  }
  /// Observers on everything, which take no memory of their own.
  void observe(Ptr<Entity> const& tree, std::size_t observers) {
    for (auto const& entity : everythingIn(tree)) {
      withType(*entity, [&](auto& typed) {
        for (std::size_t i = 0; i < observers; ++i) {
          observe(typed);
        }
      });
    }
    told_ = 0;
  }
  using Step = std::function<void()>;
  Step stepOf(std::string const& word) {
    if (auto const deed = deeds.find(word); deed != deeds.end()) {
      return [this, does = deed->second] { (this->*does)(); };
    }
    Side const side = word[0] == 'M' ? M : S;
    std::size_t const from = side == M ? 1 : 0, slash = word.find('/');
    return [entity = at(side, word.substr(from, slash - from)), op = Op(word.substr(slash + 1))] { op(*entity); };
  }

  std::size_t told_ = 0;
  std::size_t room = SIZE_MAX;  ///< what S can write before its buffer has to grow
  std::size_t times = 1;        ///< how many fail where not all do

 private:
  enum Lack { never, once, fromThenOn, toTheEnd };

  void set(std::string const& script) {
    spies_.clear();
    link = nullptr;
    mirror = nullptr;
    root = Vorn::rootConfigCollFactory("rcc");
    run(std::string(usual) + " 5v7/m1=1");
    connect();
    quiet();
    link->move();
    run(script);
    quiet();
    observe(root, 9);  // more than a dispatch has room for without memory
    if (mirror) {
      observe(mirror, 9);
    }
    constexpr std::size_t first = 4096;  // bytes of a new buffer
    stuffed_ = room < first ? first - room : 0;
    (*link)[S].out()->endIs((*link)[S].out()->room(stuffed_) + stuffed_);
  }
  void quiet() {
    watch = nullptr;
    link->reads = false;
    (*link)[M].onRootIs([this](Ptr<Entity> const& arrived) { mirror = Kro::ptrCast<RootConfigColl>(arrived); });
    for (Side const side : {S, M}) {
      states_[side] = (*link)[side].state();
      // too large for std::function to hold without memory
      (*link)[side].onStateIs([this, side, large = std::array<char, 64>()](LogConnection::State state) {
        static_cast<void>(large);
        states_[side] = state;
      });
    }
  }
  template <class X>
  void observe(X& entity) {
    struct Counting : decltype(spyOf(entity)) {
      void onZeroReferences() override {}  // a destructor may pass over those who would have to be told
    };
    auto const spy = Kro::adopt(new Counting);
    spy->isRegisteredNotifieeIs(true);
    spy->notifierIs(share(&entity));
    spy->isWeakReferenceIs(true);
    spy->act = [this] { told(); };
    spy->report = [this] {
      if (std::exchange(throws_, false)) {
        throw;
      }
    };
    spies_.push_back(spy);
  }
  void told() {
    ++told_;
    if (!within_.empty()) {
      (*link)[M].receive(std::exchange(within_, {}));
    }
    if (throws_) {
      throw 1;
    }
  }

  /// Whether an allocation failed.
  bool tryOut(std::string const& before, std::string const& act, Lack lack, std::size_t n) {
    SCOPED_TRACE("allocation " + std::to_string(n) + ", " + std::to_string(lack));
    set(before);
    std::vector<Step> steps;
    std::istringstream words(act);
    for (std::string word; words >> word;) {
      steps.push_back(stepOf(word));
    }
    auto const changed = [&] { return act[0] == 'M' ? Dump::of(*mirror) : Dump::of(*root); };
    untouched_ = lack == never ? changed() : untouched_;
    auto step = steps.begin();
    failAllocation(lack == never ? 0 : n, lack == once ? times : SIZE_MAX);
    try {
      for (; step != steps.end(); ++step) {
        (*step)();
      }
    } catch (std::bad_alloc const&) {
    }
    if (lack == toTheEnd) {
      steps.clear();
      link = nullptr;
      root = mirror = nullptr;
      return failAllocation(0);
    }
    bool const hasFailed = failAllocation(0);
    (*link)[S].sent(stuffed_);
    bool const isDone = step == steps.end();
    if (lack == never) {
      doneTold_ = told_;
      done_ = changed();
    } else if (act.find('/') != std::string::npos && act.find_first_of("* z") == std::string::npos) {  // one change
      EXPECT_EQ(told_ != 0, isDone && doneTold_ != 0);
      EXPECT_EQ(changed(), isDone ? done_ : untouched_);
    }
    EXPECT_EQ(root->auditErrors(9) + (mirror ? mirror->auditErrors(9) : 0), 0U);
    for (; step != steps.end(); ++step) {
      (*step)();
    }
    steps.clear();
    link->move();
    run("c99=1");  // something is written, so that what was forgotten shows
    link->move();
    if (std::string const errors = link->error(S) + link->error(M); !errors.empty()) {
      EXPECT_TRUE(hasFailed && (errors + errors).find("out of memoryout of memory") == 0) << errors;
      run("cut connect");
      quiet();
      link->move();
    }
    expectEqual();
    EXPECT_TRUE(states_[S] == (*link)[S].state() && states_[M] == (*link)[M].state()) << "told of each state";
    return hasFailed;
  }

  // --- deeds: they take no memory of their own ---

  bool pass(Side side, std::size_t piece = SIZE_MAX) {
    auto const bytes = (*link)[side].pending();
    for (std::size_t at = 0; at < bytes.size(); at += std::min(piece, bytes.size() - at)) {
      (*link)[other(side)].receive(bytes.subspan(at, std::min(piece, bytes.size() - at)));
    }
    (*link)[side].sent(bytes.size());
    return !bytes.empty();
  }
  void passS() { pass(S); }
  void passM() { pass(M); }
  void passPieces() { pass(S, 7); }
  /// The second half comes while the first one is applied.
  void passNested() {
    auto const bytes = (*link)[S].pending();
    within_ = bytes.subspan(bytes.size() / 2);
    (*link)[M].receive(bytes.first(bytes.size() / 2));
    within_ = {};
    (*link)[S].sent(bytes.size());
  }
  /// An observer throws while bytes wait behind the message.
  void passThrowing() {
    throws_ = true;
    auto const bytes = (*link)[S].pending();
    try {
      (*link)[M].receive(bytes);
    } catch (int) {
    }
    throws_ = false;
    (*link)[S].sent(bytes.size());
    (*link)[M].receive({});
  }
  void move() {
    for (bool moves = true; moves;) {
      moves = pass(S);
      moves = pass(M) || moves;
    }
  }
  void passHalf() {
    halves_ = (*link)[S].pending();
    (*link)[M].receive(halves_.first(halves_.size() / 2));
  }
  void passRest() {
    (*link)[M].receive(halves_.subspan(halves_.size() / 2));
    (*link)[S].sent(halves_.size());
  }
  void flush() { (*link)[S].pending(); }
  void flowOut() { (*link)[S].demuxer().reactor({11})->handleAttrFlowOut(0); }
  void text() {
    auto const from = acl(S);
    EXPECT_EQ(Kro::strepToValue<Vorn::IpRuleConfig>(Kro::valueToStrep(rule(1))), rule(1));
    EXPECT_TRUE(Kro::entityAtPath(root, from->fullName()));
  }
  void create() {
    link = std::make_unique<Link>();
    quiet();
  }
  void offer() { (*link)[M].rootOffer(mirror); }
  void attach() { (*link)[S].rootIs(root); }
  void detach() { (*link)[S].rootDel(root); }
  void close() noexcept { (*link)[S].close("a reason that takes memory"); }
  std::map<std::string, void (Memory::*)()> const deeds = {
      {"S>", &Memory::passS},          {"M>", &Memory::passM},      {"pieces", &Memory::passPieces},
      {"nested", &Memory::passNested}, {"move", &Memory::move},     {"throwing", &Memory::passThrowing},
      {"flush", &Memory::flush},       {"half", &Memory::passHalf}, {"rest", &Memory::passRest},
      {"flowOut", &Memory::flowOut},   {"text", &Memory::text},     {"create", &Memory::create},
      {"offer", &Memory::offer},       {"attach", &Memory::attach}, {"detach", &Memory::detach},
      {"close", &Memory::close}};

  std::vector<Ptr<Kro::PtrInterface>> spies_;
  std::span<std::uint8_t const> within_, halves_;
  bool throws_ = false;
  std::size_t doneTold_ = 0;
  LogConnection::State states_[2] = {};
  std::size_t stuffed_ = 0;
  std::string untouched_, done_;
};

TEST_F(Memory, IsTakenByADispatchToMoreThanEight) {
  for (std::size_t const observers : {0U, 8U, 9U}) {
    for (char const* const change :
         {"5v7/r1=9", "5v7/-r1", "5v/-a7", "5/active=1", "5/kick+9", "5/-p", "c/-c6", "c/f8", "c/-f1"}) {
      SCOPED_TRACE(change);
      root = Vorn::rootConfigCollFactory("rcc");
      run(std::string(usual) + " c8=1");
      observe(root, observers);
      auto const held = everythingIn(root);  // else the end of what is removed is told, too
      Step const step = stepOf(change);
      std::size_t const before = allocations();
      step();
      EXPECT_EQ(allocations() - before, observers > 8 ? 1U : 0U);
      EXPECT_EQ(told_, observers);
    }
  }
}

TEST_F(Memory, LeavesAChangeDoneOrNot) {
  for (char const* const change :
       {"5v7/r1=9", "5v7/r9=9", "5v7/-r1",     "5v7/-r*",     "5v7/!r1",     "5v7/m1=9",   "5v7/-m1",    "5v/a8=0x",
        "5v/-a7",   "5v/-a*",   "5v/!a7",      "5p/k:a=8",    "5p/k:k=8",    "5p/-k:k",    "5p/-k*",     "5p/!k:k",
        "5/v=x",    "5/-v",     "5/p=x",       "5/-p",        "6/v=x",       "5/active=1", "5/action=1", "5/time=1.5",
        "5/kick=9", "5/kick+9", "c/c7=3",      "c/-c5",       "c/-c*",       "c/!c5",      "c/f6",       "c/-f1",
        "c/-f*",    "c/!f1",    "c/stranger1", "c/stranger9", "6/initialize"}) {
    play("", change);
    play("short kick=1", change);
    play("M short kick=1", std::string("M") + change);
  }
}

TEST_F(Memory, LeavesNoDifferenceBetweenConnectedEnds) {
  std::string const longName(5000, 'x');
  for (auto const& [before, act] : std::initializer_list<std::pair<std::string, std::string>>{
           {"r1=9 a8=0x m3=3", "pieces"},
           {"r1=9 a8=0x m3=3", "nested"},
           {"r1=9 a8=0x m3=3", "throwing"},
           {"short kick=1 r1=9 r9=9 -r2 m1=9 a8=0x -k:k k:z=9 6/initialize c7=3 f7", "move"},
           {"short kick=1 -a7 a7=0again", "move"},
           {"short kick=1 -c6 c6=9 f6 -v v=w", "move"},
           {"deferred short kick=1 r1=9 -r2 a8=0x", "move"},
           {"k:" + longName + "=8 a8=0" + longName, "flush"},
           {"cut drop connect", "move"},
           {"cut r1=9 -r2 r3=3 -m1 a8=0x -k:k f6 connect", "move"},
           {"cut connect until=1.0.0", "5v7/r1=9"},
           {"m2=2 m3=3 move cut -m3 m4=4 connect until=B(11,262)", "5v7/r1=9"},
           {"M r1=8 -r2 a9=0m k:m=9 -k:k action=1 kick=2", "M> S>"},
           {"M short kick=1 M r1=8 -r2 a9=0m k:m=9 -k:k", "M> S> M> S>"},
           {"r1=9 a8=0x -m1 -v M r1=8 a8=0y m1=7 v=m", "S> M> S>"},
           {"M short kick=1 S r1=9 r3=3", "half M5v7/r8=8 rest"},
           {"", "text"},
           {"", "create offer attach"},
           {"", "detach close create offer attach"},
           {"", "c/c10=1 c/c11=1 c/c12=1 c/c13=1"}}) {
    play(before, act);
  }
  for (room = 0; room < 300; room += WireHeader::size) {  // so that a marker is the one that finds no room
    play("m3=3 move cut -m3 connect until=B(11,261)", "flush");
    play("m3=3 move cut -m3 connect until=B(11,261)", "flowOut");
  }
  room = SIZE_MAX;
  times = 2;
  play("M -a7 a7=1other", "5v/-a7 M> S>");  // neither noted as removed nor marked
}

}  // namespace
