#pragma once

// Three columns from end to end: words, dates, numbers. Needs no files; takes a word list that is
// installed in preference to the words that it makes up.
void RunDemo();
