// A day's log in the containers, streams and clocks of the standard library.
#include <chrono>
#include <iostream>
#include <map>
#include <set>
#include <unordered_map>

#include "kvstd.h"

int main() {
  using namespace std::chrono;

  // Points in time as keys, and what lies between them.
  std::map<KvDateTimeN, KvString> log;
  log[KvDateTimeN(2024, 2, 29, 17, 45, 0, 0)] = "home";
  log[KvDateTimeN(2024, 2, 29, 8, 30, 0, 0)] = "work";
  log[KvDateTimeN(2024, 3, 1, 0, 15, 0, 0)] = "sleep";
  for (const auto& [moment, event] : log) std::cout << moment << ' ' << event << '\n';
  const KvTimeSpan day = log.rbegin()->first - log.begin()->first;
  std::cout << "span " << day << ", back " << log.begin()->first - log.rbegin()->first << '\n';
  std::cout << std::boolalpha << (log.begin()->first + day == log.rbegin()->first) << '\n';

  // A calendar of another library, and what does not fit it.
  const auto leap = KvToChrono(KvDate(2024, 2, 29));
  std::cout << (*leap + days(1) == sys_days(2024y / March / 1)) << '\n';
  std::cout << KvToChrono(KvDate(2024, -1, 1)).has_value() << '\n';
  std::cout << *KvFromChrono(sys_days(1969y / July / 20)) << '\n';

  // Texts that are equal, whatever their code sets, are one key.
  std::unordered_map<KvString, int> words;
  for (const char* word : {"öl", "oel", "öl"}) ++words[*KvFromUtf8(word)];
  KvString narrow(*KvFromUtf8("öl"));
  narrow.MapToCodeSet(kvCodeSetLatin1);
  std::cout << words.size() << " words, " << words[narrow] << " times " << narrow << '\n';

  // Wildcards are values in a set.
  const std::set<KvDate> dates = {KvDate(2024, -1, 1), KvDate(2024, 1, 1), KvDate(2024, 2, 1)};
  for (const KvDate& date : dates) std::cout << date << '\n';

  std::cout << KvToOptional(KvNull_int()).value_or(42) << '\n';
  const KvString city = *KvFromUtf8("Łódź 9");
  int letters = 0;
  for (const KvChar& letter : city) letters += letter.IsAlpha() ? 1 : 0;
  std::cout << letters << " letters\n";
}
