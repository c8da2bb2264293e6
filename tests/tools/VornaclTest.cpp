// The program vornacl: how each verb ends, and what it says.
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include <gmock/gmock.h>
#include <sys/socket.h>

#include "tests/tools/Program.h"
#include "tools/vornacl/net/Address.h"

namespace {

/// A run, and how it has to end.
struct Case {
  char const* arguments;
  int status;
  std::string output;
  std::string messages;  ///< begin so

  void run() const {
    ProgramResult const result = runProgram("vornacl", arguments);
    EXPECT_EQ(result.status, status) << arguments << "\n" << result.messages;
    EXPECT_EQ(result.output, output) << arguments;
    EXPECT_THAT(result.messages, testing::StartsWith(messages)) << arguments;
    EXPECT_EQ(result.messages.empty(), messages.empty()) << arguments;
  }
};

/// Runs the program until it ends as wanted.
void expectSoon(char const* arguments, int status = 0) {
  auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (runProgram("vornacl", arguments).status != status) {
    ASSERT_LT(std::chrono::steady_clock::now(), end) << arguments;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

/// `vornacl serve` in a process of its own.
class Serve : public Demo::ChildProcess {
 public:
  template <class... Argument>
  explicit Serve(Argument... arguments) : ChildProcess(VORNACL_BIN_DIR "/vornacl", {"serve", arguments...}, {}, -1) {}
  void signal(int number) const { ::kill(id(), number); }
  bool ends() {
    signal(SIGTERM);
    return succeeded();
  }
};

/// A folder with files to give to verbs, where programs run.
class VornaclTest : public testing::Test {
 protected:
  VornaclTest() {
    std::filesystem::current_path(folder_.path());
    write("empty", "");
    write("binary", std::string("ip access-list a\n\0\n", 19));
    write("prose", "no rules here\n");
    write("list", "ip access-list a\n permit tcp any any eq 80\n deny ip any any\n");
    write("broken", "ip access-list a\n permit tcp any any eq 65536\n");
    write("two", "ip access-list a\n permit tcp any any neq 80\n");
    write("tos", "ip access-list a\n permit ip any any\n permit ip any any tos 1\n");
    write("dead", "ip access-list a\n permit ip any any\n deny tcp any any eq 80\n");
    write("other", "ip access-list b\n deny ip any any\n permit tcp any any eq 80\n");
    write("halves", "ip access-list a\n permit tcp any any lt 80\n permit tcp any any gt 80\n");
    write("wide", "ip access-list a\n permit ip any 0.0.0.1 255.255.255.0\n");
    write("packets", "src=192.0.2.1 dst=192.0.2.2\nx\n");
    write("flags", "@0.0.0.0/0\t0.0.0.0/0\t0 : 65535\t0 : 65535\t0x06/0xFF\t0x0200/0x1200\t\n");
    write("secret", "");
    std::filesystem::permissions("secret", std::filesystem::perms::none);
    std::filesystem::create_directory("folder");
  }
  ~VornaclTest() override { std::filesystem::current_path(before_); }

  static void write(char const* name, std::string const& text) { std::ofstream(name) << text; }

 private:
  std::filesystem::path const before_ = std::filesystem::current_path();
  Demo::TemporaryFolder folder_;
};

TEST_F(VornaclTest, endsAsDocumentedAndSaysWhy) {
  std::string const acl = " vornacl/chipRootConfig[0]/vornAclColl/acl[ipv4PAcl:0:in] ip ";
  Case const cases[] = {
      {"", 2, "", "vornacl: which verb?\n"},
      {"unknown", 2, "", "vornacl: there is no verb \"unknown\"\n"},
      {"load", 2, "", "vornacl: FILE is required\n"},
      {"load --form novel list", 2, "", "vornacl: --form: "},
      {"load --print --json list", 2, "", "vornacl: --print excludes --json\n"},
      {"--color blue load list", 2, "", "vornacl: --color: "},
      {"load missing", 6, "", "vornacl: missing: cannot be opened: No such file or directory\n"},
      {"load folder", 4, "", "vornacl: folder: this is a folder\n"},
      {"load empty", 4, "", "vornacl: empty: this is empty\n"},
      {"load binary", 4, "", "vornacl: binary:2:1: found a NUL byte, expected a text\n"},
      {"load prose", 4, "", "vornacl: prose: no form of rules begins so; --form names one\n"},
      {"load --form classbench list", 4, "",
       "vornacl: list:1:1: found \"ip\", expected \"@\" at the start of a filter\n"},
      {"load --form classbench empty", 0, "empty" + acl + "empty: 0 rules\n", ""},
      {"load --skip broken", 4, "", "vornacl: broken:2:24: found \"65536\", expected a port, "},
      {"load tos", 4, "", "vornacl: tos:3:20: a filter has no place for \"tos\"\n"},
      {"load --skip tos", 0, "tos" + acl + "a: 1 rule\n",
       "vornacl: tos:3:20: left out: a filter has no place for \"tos\"\nvornacl: 1 rule left out\n"},
      {"load two", 4, "", "vornacl: two:2: this takes 2 exact rules (--expand)\n"},
      {"load --expand wide", 4, "", "vornacl: wide:2: this takes more than 65536 exact rules\n"},
      {"load --json --expand two", 0,
       "{\"version\":1,\"event\":\"acl\",\"file\":\"two\",\"form\":\"accesslist\",\"path\":"
       "\"vornacl/chipRootConfig[0]/vornAclColl/acl[ipv4PAcl:0:in]\",\"type\":\"ip\",\"name\":\"a\",\"rules\":2}\n",
       ""},
      {"load flags", 4, "", "vornacl: flags:1: a filter has no place for TCP flags that must be clear, as ACK\n"},
      {"load --loosen flags", 0, "flags" + acl + "flags: 1 rule\n",
       "vornacl: flags: flags 0x0200/0x1200 of protocol 0x06/0xFF: 1 filter loaded with SYN set\n"},
      {"load --print - <list", 0,
       "1 a 10 permit 6 0.0.0.0/0 0.0.0.0/0 0-65535 80-80\n2 a 20 deny any 0.0.0.0/0 0.0.0.0/0 0-65535 0-65535\n", ""},
      {"check", 2, "", "vornacl: FILE is required\n"},
      {"check missing", 6, "", "vornacl: missing: cannot be opened: No such file or directory\n"},
      {"check list", 0, "", "vornacl: 2 rules in 1 list, 2 met\n"},
      {"check dead", 1, "contradiction: dead:3: a 20 deny tcp any any dport 80\n  by dead:2: a 10 permit ip any any\n",
       "vornacl: 2 rules in 1 list, 1 met, 1 contradiction\n"},
      {"check --json dead", 1,
       "{\"version\":1,\"event\":\"contradiction\",\"rule\":{\"file\":\"dead\",\"line\":3,\"type\":\"ip\",\"list\":"
       "\"a\","
       "\"number\":\"20\",\"text\":\"deny tcp any any dport "
       "80\"},\"by\":[{\"file\":\"dead\",\"line\":2,\"type\":\"ip\","
       "\"list\":\"a\",\"number\":\"10\",\"text\":\"permit ip any any\"}]}\n",
       "vornacl: 2 rules in 1 list, 1 met, 1 contradiction\n"},
      {"check --color always dead | head -c 21", 0, "\x1b[31mcontradiction\x1b[0", "vornacl: 2 rules"},
      {"check flags two tos", 4, "", "vornacl: tos:3:20: a filter has no place for \"tos\"\n"},
      {"lookup list", 2, "", "vornacl: PACKET is required\n"},
      {"lookup list src=192.0.2.1", 4, "", "vornacl: PACKET:14: found the end of the line, expected \"dst=ADDRESS\"\n"},
      {"lookup list src=192.0.2.1 dst=192.0.2.2,proto=tcp,dport=81", 0,
       "list:3: a 20 deny ip any any (passed over 1 of 2)\n  not destination port: list:2: a 10 permit tcp any any "
       "dport 80\n",
       ""},
      {"lookup flags src=192.0.2.1 dst=192.0.2.2", 1,
       "flags: flags: no rule matches (passed over 1 of 1)\n  not flags, protocol: flags:1: flags 1 permit tcp any any "
       "flags syn "
       "without ack\n",
       ""},
      {"lookup --list b list src=192.0.2.1 dst=192.0.2.2", 6, "", "vornacl: list: there is no such list\n"},
      {"lookup list src=::1 dst=::2", 6, "", "vornacl: list: there is no list for packets with such addresses\n"},
      {"lookup --json --passed 0 list - <packets", 4,
       "{\"version\":1,\"event\":\"match\",\"packet\":\"src=192.0.2.1 "
       "dst=192.0.2.2\",\"list\":\"a\",\"rule\":{\"file\":\"list\","
       "\"line\":3,\"type\":\"ip\",\"list\":\"a\",\"number\":\"20\",\"text\":\"deny ip any "
       "any\"},\"passed\":1,\"closest\":[]}\n",
       "vornacl: -:2:1: found \"x\", expected src="},
      {"diff list", 2, "", "vornacl: B is required\n"},
      {"diff list missing", 6, "", "vornacl: missing: cannot be opened: No such file or directory\n"},
      {"diff list empty", 4, "", "vornacl: empty: this is empty\n"},
      {"diff list list", 0, "", "vornacl: equal\n"},
      {"diff list dead", 1,
       "- list:2: a 10 permit tcp any any dport 80\n- list:3: a 20 deny ip any any\n+ dead:2: a 10 permit ip any any\n"
       "+ dead:3: a 20 deny tcp any any dport 80\n",
       "vornacl: 2 added, 2 removed\n"},
      {"diff other list", 1,
       "moved:\n  - other:2: b 10 deny ip any any\n  + list:3: a 20 deny ip any any\nb: 1 rule with other numbers\n",
       "vornacl: equal but for the order: 1 moved, 1 renumbered\n"},
      {"diff --json two halves", 1,
       "{\"version\":1,\"event\":\"split\",\"from\":[{\"file\":\"two\",\"line\":2,\"type\":\"ip\",\"list\":\"a\","
       "\"number\":\"10\","
       "\"text\":\"permit tcp any any dport "
       "0-79,81-65535\"}],\"to\":[{\"file\":\"halves\",\"line\":2,\"type\":\"ip\",\"list\":"
       "\"a\",\"number\":\"10\",\"text\":\"permit tcp any any dport "
       "0-79\"},{\"file\":\"halves\",\"line\":3,\"type\":\"ip\","
       "\"list\":\"a\",\"number\":\"20\",\"text\":\"permit tcp any any dport 81-65535\"}]}\n",
       "vornacl: 1 split\n"},
      {"types Nothing", 6, "", "vornacl: there is no type \"Nothing\"\n"},
      {"types ChipId", 0, "Vorn::ChipId(value U16): value\n  2  value  stored    U16\n  3  hash   function  U32\n", ""},
      {"completion fish", 2, "", "vornacl: SHELL: "},
      {"load list >/dev/full", 7, "", "vornacl: cannot write the results: No space left on device\n"},
      {"--help >/dev/full", 7, "", "vornacl: cannot write the results: No space left on device\n"},
  };
  for (Case const& c : cases) {
    c.run();
  }
  if (geteuid() != 0) {
    EXPECT_EQ(runProgram("vornacl", "load secret").status, 4);
  }
}

TEST_F(VornaclTest, servesATreeToOtherProcesses) {
  std::filesystem::copy("list", "rules");
  std::optional<Serve> source;
  source.emplace("rules", "--listen", "unix:source");
  expectSoon("show unix:source");
  Serve relay("--from", "unix:source", "--listen", "unix:relay");
  expectSoon("show unix:relay");
  Serve closed("list", "--read-only", "--listen", "unix:closed");
  expectSoon("show unix:closed");
  Tools::Listener const odd(Tools::Address::of("unix:odd"));
  std::jthread const answer([&] {
    pollfd event{odd.number(), POLLIN, 0};
    poll(&event, 1, -1);
    send(odd.accept().number(), "220 mail.example.net\n", 21, 0);
  });
  auto const garbage = Tools::connectTo(Tools::Address::of("unix:source"), std::chrono::seconds(1));
  send(garbage.number(), "GET / HTTP/1.1\n\n", 16, 0);
  Case const cases[] = {
      {"serve", 2, "", "vornacl: --listen is required\n"},
      {"serve list --from unix:source --listen unix:x", 2, "", "vornacl: FILE excludes --from\n"},
      {"serve list --listen unix:source", 3, "", "vornacl: unix:source: cannot listen: Address already in use\n"},
      {"serve --listen tcp:", 2, "", "vornacl: tcp:: expected unix:PATH or tcp:HOST:PORT\n"},
      {"serve broken --listen unix:x", 4, "", "vornacl: broken:2:24: "},
      {"show unix:odd", 4, "", "vornacl: unix:odd: "},
      {"show unix:x", 3, "", "vornacl: unix:x: cannot connect: No such file or directory\n"},
      {"show file", 2, "", "vornacl: file: expected unix:PATH or tcp:HOST:PORT\n"},
      {"show unix:relay vornacl/none", 6, "", "vornacl: path vornacl/none: "},
      {"show unix:relay", 0,
       "TYPE  NAME  RULES  PATH\nip    a         2  vornacl/chipRootConfig[0]/vornAclColl/acl[ipv4PAcl:0:in]\n", ""},
      {"show unix:relay 'vornacl/chipRootConfig[0]/vornAclColl/acl[ipv4PAcl:0:in]'", 0,
       "    10  permit tcp any any dport 80\n    20  deny ip any any\n", ""},
      {"show unix:relay vornacl/chipRootConfig[0]/aclKeyToAclId --json | head -1", 0,
       "{\"version\":1,\"event\":\"value\",\"path\":\"vornacl/chipRootConfig[0]/aclKeyToAclId\",\"attribute\":\"name\","
       "\"value\":\"'AclKeyToAclId'\"}\n",
       ""},
      {"show unix:relay --text >tree", 0, "", ""},
      {"diff tree unix:source", 0, "", "vornacl: equal\n"},
      {"get unix:relay vornacl/none action", 6, "", "vornacl: path vornacl/none: "},
      {"get unix:relay vornacl/chipRootConfig[0] none", 6, "", "vornacl: Vorn::RootConfig has no attribute \"none\"\n"},
      {"get unix:relay vornacl chipRootConfig", 2, "", "vornacl: chipRootConfig is a collection: [KEY] must follow\n"},
      {"get unix:relay vornacl chipRootConfig[5]", 6, "",
       "vornacl: chipRootConfig[5]: there is nothing under this key\n"},
      {"get unix:relay vornacl/chipRootConfig[0] action", 0, "'vornCompute'\n", ""},
      {"set unix:relay vornacl/chipRootConfig[0] action x", 4, "", "vornacl: VALUE: "},
      {"set unix:relay vornacl/chipRootConfig[0] rootConfigId 1", 4, "", "vornacl: rootConfigId: "},
      {"set unix:closed vornacl/chipRootConfig[0] action vornLoad", 1, "",
       "vornacl: unix:closed: not taken, it is 'vornCompute'\n"},
      {"watch unix:x", 3, "", "vornacl: unix:x: cannot connect: No such file or directory\n"},
      {"watch unix:source vornacl/chipRootConfig[0] --count 2 >changes & "
       "while kill -0 $!; do for a in vornLoad vornCompute; do " VORNACL_BIN_DIR
       "/vornacl set unix:relay vornacl/chipRootConfig[0] action $a; done; done 2>/dev/null; cut -d' ' -f2- changes | "
       "sort",
       0,
       "~ vornacl/chipRootConfig[0] action 'vornCompute' -> 'vornLoad'\n"
       "~ vornacl/chipRootConfig[0] action 'vornLoad' -> 'vornCompute'\n",
       ""},
      {"set unix:relay vornacl/chipRootConfig[0] action vornLoad", 0, "", ""},
      {"wait unix:source vornacl/chipRootConfig[0] action eq vornLoad", 0, "", ""},
      {"wait unix:source vornacl/chipRootConfig[0] vornRootKick '>=' 1 --timeout 0.2", 5, "", "vornacl: unix:source: "},
      {"wait unix:source vornacl/chipRootConfig[0] action lt vornLoad", 2, "", "vornacl: \"'vornLoad'\" is no number"},
      {"call unix:relay vornacl/chipRootConfig[0] equal vornacl/chipRootConfig[0]", 0, "true\n", ""},
      {"call unix:relay vornacl/chipRootConfig[0] equal", 2, "", "vornacl: equal takes 1 argument\n"},
      {"call unix:relay vornacl/chipRootConfig[0] action", 6, "",
       "vornacl: Vorn::RootConfig has no function \"action\"\n"},
      {"show unix:relay --text >tree", 0, "", ""},
      {"record unix:relay stream --for 0.3", 0, "", "vornacl: 26 messages recorded\n"},
      {"dump stream | sed '1!d'", 0, "(1,136,T,0,0) \"Vorn::RootConfigColl\" \"vornacl\" 2\n", ""},
      {"replay stream --to 1", 0, "TYPE  NAME  RULES  PATH\n", ""},
      {"replay stream --to 99", 6, "", "vornacl: stream: it has only 26 messages\n"},
      {"dump list", 4, "", "vornacl: list: another magic or version, in the message at byte 0\n"},
      {"replay list", 4, "", "vornacl: list: the peer does not speak this protocol"},
      {"dump stream >/dev/null; head -c 99 stream >cut", 0, "", ""},
      {"replay cut", 4, "", "vornacl: cut: it ends within the message at byte 96\n"},
      {"dump cut | tail -n 1", 0, "B(2,258)\n", "vornacl: cut: found the end of the file in the message at byte 96\n"},
      {"record unix:relay /dev/full --for 1", 7, "", "vornacl: /dev/full: No space left on device\n"},
      {"check unix:relay", 0, "", "vornacl: 2 rules in 1 list, 2 met\n"},
      {"lookup unix:relay src=192.0.2.1 dst=192.0.2.2", 0,
       "unix:relay: a 20 deny ip any any (passed over 1 of 2)\n  not protocol, destination port: unix:relay: a 10 "
       "permit "
       "tcp any any dport 80\n",
       ""},
  };
  for (Case const& c : cases) {
    c.run();
  }
  EXPECT_EQ(runProgram("vornacl", "replay stream --text >again; cmp tree again").status, 0);
  write("rules", "ip access-list a\n permit ip any any\n");
  source->signal(SIGHUP);
  expectSoon("diff rules unix:relay");
  write("rules", "ip access-list a\n permit tcp any any eq 65536\n");
  source->signal(SIGHUP);
  EXPECT_TRUE(source->ends());
  EXPECT_FALSE(std::filesystem::exists("source"));
  expectSoon("show --timeout 0.2 unix:relay", 5);
  source.emplace("dead", "--listen", "unix:source");
  expectSoon("diff dead unix:relay");
  source->kill();
  source.emplace("list", "--listen", "unix:source");
  expectSoon("diff list unix:relay");
  EXPECT_TRUE(relay.ends());
}

TEST_F(VornaclTest, completesWordsAndPrintsItsManual) {
  EXPECT_EQ(
      runProgram("vornacl",
                 "completion bash >c; bash -c '. ./c; COMP_WORDS=(vornacl load --ex) COMP_CWORD=2; _vornacl; "
                 "echo \"${COMPREPLY[@]}\"; COMP_WORDS=(vornacl di) COMP_CWORD=1; _vornacl; echo \"${COMPREPLY[@]}\"; "
                 "COMP_WORDS=(vornacl types Vorn::Ace) COMP_CWORD=2; _vornacl; echo \"${COMPREPLY[@]}\"'")
          .output,
      "--expand\ndiff\nVorn::AceIndex\n");
  std::string const manual = runProgram("vornacl", "man").output;
  EXPECT_THAT(manual, testing::StartsWith(".TH VORNACL 1\n"));
  EXPECT_THAT(manual, testing::HasSubstr(".SS diff\nCompare the rules of two files or processes.\n"));
  EXPECT_THAT(manual, testing::HasSubstr("\n  4  data cannot be read; the message tells the place\n"));
}

TEST_F(VornaclTest, doesNotEndWellWhereNobodyReads) {
  std::string many = "ip access-list a\n";
  for (int i = 0; i < 3000; ++i) {
    many += " permit ip any any\n";
  }
  write("many", many);  // more than a pipe takes
  runProgram("vornacl", "load --print many; echo $? >status) | (true");
  EXPECT_EQ(Tools::readFile("status"), "7\n");
}

}  // namespace
