// What the tool knows about the library's four rating methods: name, title,
// maximum score and the meaning of every result word each method fills.
// Every output (JSON words, score items, plot, review pages) reads them here.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ctgscore.h"

namespace ctgtool {

// The rating methods in the fixed order in which "all" runs them.  The order
// matters: the library's contraction filter keeps state from one call to the
// next within a process.
enum class Method { Krebs, Fischer, Acog, Uc };

enum class WordKind { Int, Double, Flags };

// A result word (or, for a double, the first of two words; for flags, the
// first of a group of one-word flags).
struct ResultWord {
    const char* name;  // the name in the JSON description
    int index;         // 0..53
    const char* meaning;
    WordKind kind = WordKind::Int;
    std::vector<const char*> slots = {};  // one label per flag of a flag group

    int count() const { return kind == WordKind::Flags ? static_cast<int>(slots.size()) : 1; }
};

struct MethodFacts {
    Method method;
    const char* name;   // "krebs", "fischer", "acog", "uc"
    const char* title;  // "Krebs", "Fischer", "ACOG", "Contraction"
    std::optional<int> maxScore;
    // A successful run always writes this word; a failed run leaves every word
    // at -1.  The ACOG method never writes the total (word 0), so its success
    // shows in the baseline heart rate (word 35) instead.
    int successWord;
    std::vector<ResultWord> words;  // in the order the JSON description lists them
};

// The four methods in run order.
const std::vector<MethodFacts>& methodFacts();
const MethodFacts& factsOf(Method method);

// The word the method fills under that name; throws std::logic_error for a
// name the method does not fill.
const ResultWord& resultWord(Method method, const std::string& name);

// The result word at index (0..53) as an int.
int word(const QK4_FhrResult& record, int index);
// The double stored in words index and index + 1.
double wordAsDouble(const QK4_FhrResult& record, int index);

}  // namespace ctgtool
