// completion, man: what a shell and a reader want to know of the other verbs, made from their declarations.
#include "tools/common/Types.h"
#include "tools/vornacl/Verbs.h"

namespace Tools {

namespace {

/// The program with all its verbs, declared for the sake of what they declare.
struct Declared {
  Declared() { declareProgram(app, output, runs); }

  CLI::App app;
  Output output;
  std::vector<Run> runs;
};

/// The long names of the options, with blanks between.
std::string optionNames(CLI::App const& app) {
  std::string names;
  for (CLI::Option const* const option : app.get_options([](CLI::Option const* o) { return o->nonpositional(); })) {
    names += (names.empty() ? "" : " ") + option->get_name();
  }
  return names;
}

/// What may stand behind a verb that takes no file.
std::string words(std::string const& verb) {
  return verb == "types" ? fmt::format("{}", fmt::join(typeNames(), " ")) : verb == "completion" ? "bash zsh" : "";
}

void completion(std::string const& shell, Output& output) {
  Declared const declared;
  auto const all = declared.app.get_subcommands([](CLI::App const*) { return true; });
  std::string verbs, cases;
  for (CLI::App const* const verb : all) {
    verbs += verb->get_name() + " ";
    cases += fmt::format("    {}) options=\"{}\" words=\"{}\" ;;\n", verb->get_name(), optionNames(*verb),
                         words(verb->get_name()));
  }
  output.text() += shell == "zsh" ? "#compdef vornacl\nautoload -U +X bashcompinit && bashcompinit\n" : "";
  output.text() += fmt::format(
      R"(_vornacl() {{
  local current=${{COMP_WORDS[COMP_CWORD]}} verb= word options="{}" words="{}"
  for word in "${{COMP_WORDS[@]:1:COMP_CWORD-1}}"; do
    case $word in -* | auto | always | never) ;; *) verb=$word; break ;; esac
  done
  case $verb in
{}  esac
  if [[ $current == -* ]]; then
    COMPREPLY=($(compgen -W "$options" -- "$current"))
  elif [[ $words ]]; then
    COMPREPLY=($(compgen -W "$words" -- "$current"))
  else
    COMPREPLY=($(compgen -f -- "$current"))
  fi
}}
complete -o filenames -F _vornacl vornacl
)",
      optionNames(declared.app), verbs, cases);
}

/// Text for roff: no line begins with what it would take for a command, and no backslash or minus is its own.
std::string escaped(std::string_view text) {
  std::string result;
  bool isLineStart = true;
  for (char const c : text) {
    result += isLineStart && (c == '.' || c == '\'') ? "\\&" : "";
    result += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
    isLineStart = c == '\n';
  }
  return result;
}

/// The options of a program or verb, each with its description.
void appendOptions(std::string& text, CLI::App const& app) {
  for (CLI::Option const* const option : app.get_options()) {
    std::string const type = option->get_positional() || option->get_type_size() == 0 ? "" : option->get_type_name();
    text += fmt::format(".TP\n\\fB{}\\fR{}\n{}\n", escaped(option->get_name(false, true)),
                        type.empty() ? "" : " \\fI" + escaped(type) + "\\fR", escaped(option->get_description()));
  }
}

void manual(Output& output) {
  Declared const declared;
  std::string& text = output.text();
  text += ".TH VORNACL 1\n.SH NAME\nvornacl \\- " + escaped(declared.app.get_description()) + "\n";
  text += ".SH SYNOPSIS\n.B vornacl\n[\\fIOPTIONS\\fR] \\fIVERB\\fR [\\fIARGUMENTS\\fR]\n.SH OPTIONS\n";
  appendOptions(text, declared.app);
  text += ".SH VERBS\n";
  for (CLI::App const* const verb : declared.app.get_subcommands([](CLI::App const*) { return true; })) {
    text += ".SS " + verb->get_name() + "\n" + escaped(verb->get_description()) + ".\n";
    appendOptions(text, *verb);
    if (verb->get_footer() != declared.app.get_footer()) {
      text += ".PP\n.nf\n" + escaped(verb->get_footer()) + "\n.fi\n";
    }
  }
  text += ".SH EXIT STATUS\n.nf\n" + escaped(declared.app.get_footer()) + "\n.fi\n";
}

}  // namespace

Run declareCompletion(CLI::App& app) {
  auto const shell = std::make_shared<std::string>();
  app.add_option("SHELL", *shell, "bash or zsh")->required()->check(CLI::IsMember({"bash", "zsh"}).description(""));
  app.footer("For one session: source <(vornacl completion bash)");
  return [shell](Output& output) {
    completion(*shell, output);
    return Exit::done;
  };
}

Run declareMan(CLI::App&) {
  return [](Output& output) {
    manual(output);
    return Exit::done;
  };
}

}  // namespace Tools
