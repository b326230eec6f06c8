// index_probe: answers a predicate on a column of values from an ordered index or by a full scan,
// whichever the type's own estimate says is cheaper, and shows the estimate beside the truth.
#include <charconv>
#include <cstdio>
#include <new>

#include "demo.h"
#include "failure.h"
#include "probe.h"
#include "report.h"

namespace {

constexpr const char* kManual =
    R"(usage: index_probe --type TYPE --file FILE [OPTION...] PREDICATE CONST [PREDICATE CONST]...
       index_probe --demo

Loads a column of values from a text file, one value a line, into an ordered index (LMDB) of their
sort keys, which order as bytes. For each predicate it asks the type what part of the
index range that selects (KvTypeMgr::EvalAndBound), then walks the narrowed range of the index where
the part is small and scans the column where it is not.

  --type TYPE     a type name (KvString), a type id name (KvSTRING_T) or a type id (11)
  --file FILE     the column, UTF-8; - reads the standard input
  --format FORMAT the print format of the values; by default dates and times are read and shown as
                  2024-02-29, 13:05:00 and 2024-02-29T13:05:00, all else in the type's own format
  --language N    the language whose collation orders texts: 1 English (default), 2 German ...
  --limit N       how many hits to show (5)
  --comparator    an index of stored values with KvTypeMgr::Cmp as its comparator, for data that is
                  there already; the hits are the same
  --demo          answers predicates on a word list, a column of dates and one of numbers
  --help          this text

PREDICATE is one of < <= = >= > and wants quotes in a shell. Errors are one line on stderr; exit
status 1: a value or a file could not be used, 2: the command line was wrong.

  index_probe --type KvString --file /usr/share/dict/ngerman --language 2 '>=' Zw
)";

struct Options {
  std::string type;
  std::string file;
  std::string format;
  unsigned language = 0;
  unsigned limit = 5;
  bool demo = false;
  bool help = false;
  Ordering ordering = Ordering::kByKeys;
  std::vector<std::string> operands;
};

unsigned ReadNumber(const std::string& option, const std::string& text, unsigned most) {
  unsigned number = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end || number > most) {
    throw Failure(option + " takes a number up to " + std::to_string(most) + ", not '" + text + "'",
                  Failure::kBadUsage);
  }
  return number;
}

Options ReadOptions(const std::vector<std::string>& arguments) {
  Options options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (!argument.starts_with("--")) {
      options.operands.push_back(argument);
      continue;
    }
    if (argument == "--demo") {
      options.demo = true;
      continue;
    }
    if (argument == "--comparator") {
      options.ordering = Ordering::kByComparator;
      continue;
    }
    if (argument == "--help") {
      options.help = true;
      continue;
    }
    if (argument != "--type" && argument != "--file" && argument != "--format" &&
        argument != "--language" && argument != "--limit") {
      throw Failure("there is no option " + argument + "; see --help", Failure::kBadUsage);
    }
    if (++i == arguments.size()) throw Failure(argument + " takes a value", Failure::kBadUsage);
    const std::string& value = arguments[i];
    if (argument == "--type") options.type = value;
    if (argument == "--file") options.file = value;
    if (argument == "--format") options.format = value;
    if (argument == "--language") options.language = ReadNumber(argument, value, 253);
    if (argument == "--limit") options.limit = ReadNumber(argument, value, 1000000000);
  }
  return options;
}

void ProbeFile(const Options& options) {
  if (options.type.empty() || options.file.empty() || options.operands.empty() ||
      options.operands.size() % 2 != 0) {
    throw Failure("a type, a file and pairs of a predicate and a constant are needed; see --help",
                  Failure::kBadUsage);
  }
  if (options.language != 0 &&
      KvString::SetDefaultLanguage(static_cast<unsigned char>(options.language)) != kvOk) {
    throw Failure("there is no language " + std::to_string(options.language), Failure::kBadUsage);
  }
  const Row row(options.type, options.format);
  std::vector<std::pair<Predicate, Stored>> questions;
  for (std::size_t i = 0; i < options.operands.size(); i += 2) {
    questions.emplace_back(ReadPredicate(options.operands[i]), row.Read(options.operands[i + 1]));
  }
  const bool isInput = options.file == "-";
  const std::string name = isInput ? "the standard input" : options.file;
  const Probe probe(row, ReadLines(isInput ? "/dev/stdin" : options.file), name, options.ordering);
  ShowColumn(probe);
  for (const auto& [predicate, constant] : questions) {
    ShowAnswer(probe, predicate, constant, options.limit);
  }
}

void Run(const std::vector<std::string>& arguments) {
  const Options options = ReadOptions(arguments);
  if (options.help) {
    std::fputs(kManual, stdout);
  } else if (options.demo) {
    RunDemo();
  } else {
    ProbeFile(options);
  }
}

}  // namespace

int main(int count, char** arguments) {
  try {
    Run({arguments + 1, arguments + count});
    return 0;
  } catch (const Failure& failure) {
    std::fflush(stdout);
    std::fprintf(stderr, "index_probe: %s\n", failure.what());
    return failure.Status();
  } catch (const std::bad_alloc&) {
    std::fputs("index_probe: out of memory\n", stderr);
    return Failure::kBadInput;
  }
}
