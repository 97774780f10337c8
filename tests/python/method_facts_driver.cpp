// Writes the command-line tool's table of method facts as JSON, for the
// Python package's test that its own table says the same:
//
//   method_facts_driver
#include <iostream>
#include <nlohmann/json.hpp>

#include "analysis/method_facts.h"

int main() {
    using namespace ctgtool;
    using json = nlohmann::ordered_json;
    json methods = json::array();
    for (const MethodFacts& facts : methodFacts()) {
        json words = json::array();
        for (const ResultWord& word : facts.words) {
            static const char* const kKinds[] = {"int", "double", "flags"};
            words.push_back({{"name", word.name},
                             {"index", word.index},
                             {"kind", kKinds[static_cast<int>(word.kind)]},
                             {"count", word.count()},
                             {"meaning", word.meaning},
                             {"slots", word.slots}});
        }
        methods.push_back({{"method", facts.name},
                           {"title", facts.title},
                           {"max_score", facts.maxScore ? json(*facts.maxScore) : json(nullptr)},
                           {"words", words}});
    }
    std::cout << methods.dump(1) << '\n';
    return 0;
}
