// Completions for bash and zsh. Both shells get one function of the same shape: find the command,
// offer values after an option that takes one, options after "-", else words for the operand's
// place.
#include "failure.h"
#include "program.h"

namespace {

std::string WordsFor(const Program& program, const std::string& placeholder) {
  return program.wordsFor == nullptr ? std::string() : program.wordsFor(placeholder);
}

// "[FILE]", "VALUE...": the placeholder alone.
std::string Bare(std::string operand) {
  std::erase_if(operand, [](char c) { return c == '.' || c == '[' || c == ']'; });
  return operand.substr(0, operand.find('|'));
}

// The line that offers what stands for a placeholder.
std::string Offer(const Program& program, const std::string& placeholder) {
  if (placeholder == "FILE") return "files";
  const std::string words = WordsFor(program, placeholder);
  return words.empty() ? "return" : "words \"" + words + "\"";
}

std::string OptionWords(const Program& program, const Command& command) {
  std::string words;
  for (const Option& option : program.options) {
    if (!IsListed(command.options, option.name)) continue;
    words += std::string(words.empty() ? "" : " ") + "--" + option.name;
    if (option.letter != 0) words += std::string(" -") + option.letter;
  }
  return words;
}

// The arms of `case $previous`: options that take a value.
std::string ValueArms(const Program& program) {
  std::string arms;
  for (const Option& option : program.options) {
    if (option.valueName == nullptr) continue;
    arms += std::string("    --") + option.name;
    if (option.letter != 0) arms += std::string("|-") + option.letter;
    arms += ") " + Offer(program, option.valueName) + "; return ;;\n";
  }
  return arms;
}

// The words of `case $word` that take the next word with them.
std::string ValueOptions(const Program& program) {
  std::string names;
  for (const Option& option : program.options) {
    if (option.valueName == nullptr) continue;
    names += (names.empty() ? "--" : "|--") + std::string(option.name);
    if (option.letter != 0) names += std::string("|-") + option.letter;
  }
  return names;
}

// The arms of `case $command`: its options, and what its operands are.
std::string CommandArms(const Program& program) {
  std::string arms;
  for (const Command& command : program.commands) {
    arms += std::string("    ") + command.name + ") options=\"" + OptionWords(program, command) +
            "\"\n      case $operand in\n";
    const std::vector<std::string> operands = SplitWords(command.operands);
    for (std::size_t i = 0; i < operands.size(); ++i) {
      const bool repeats = operands[i].find("...") != std::string::npos;
      arms += "        " + (repeats ? "*" : std::to_string(i + 1)) + ") offer='" +
              Offer(program, Bare(operands[i])) + "' ;;\n";
      if (repeats) break;
    }
    arms += "      esac ;;\n";
  }
  return arms;
}

std::string CommandNames(const Program& program) {
  std::string names = "help";
  for (const Command& command : program.commands) names += std::string(" ") + command.name;
  return names;
}

// What both shells run. `words` and `files` are theirs, `at` counts from `first`.
std::string Walk(const Program& program) {
  return R"(  while (( at < last )); do
    word=${typed[at]}
    case $word in
      )" +
         ValueOptions(program) +
         R"() (( at += 2 )); continue ;;
      -*) ;;
      *) if [[ -z $command ]]; then command=$word; else (( operand += 1 )); fi ;;
    esac
    (( at += 1 ))
  done
  case $previous in
)" + ValueArms(program) +
         R"(  esac
  if [[ -z $command ]]; then words ")" +
         CommandNames(program) + R"("; return; fi
  case $command in
    help) offer='words ")" +
         CommandNames(program) + R"("' ;;
)" + CommandArms(program) +
         R"(  esac
  if [[ $current == -* ]]; then words "$options --help"; else eval "$offer"; fi
)";
}

std::string BashCompletion(const Program& program) {
  const std::string name = program.name;
  return "# bash completion of " + name + "\n_" + name + R"(() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
  local command= word options= offer=return
  local -i at=1 last=COMP_CWORD operand=1
  local typed=("${COMP_WORDS[@]}")
  words() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$current"); }
  files() { compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$current"); }
)" + Walk(program) +
         "}\ncomplete -F _" + name + " " + name + "\n";
}

std::string ZshCompletion(const Program& program) {
  const std::string name = program.name;
  return "#compdef " + name + "\n_" + name + R"(() {
  local current=${words[CURRENT]} previous=${words[CURRENT-1]}
  local command= word options= offer=return
  local -i at=2 last=CURRENT operand=1
  local -a typed=("${words[@]}")
  words() { compadd -- ${=1}; }
  files() { _files; }
)" + Walk(program) +
         "}\nif [[ ${funcstack[1]} == _" + name + " ]]; then _" + name + " \"$@\"; else compdef _" +
         name + " " + name + "; fi\n";
}

}  // namespace

std::string Completion(const Program& program, const std::string& shell) {
  if (shell == "bash") return BashCompletion(program);
  if (shell == "zsh") return ZshCompletion(program);
  FailUsage("there are completions for bash and zsh, not for " + Quoted(shell));
}
