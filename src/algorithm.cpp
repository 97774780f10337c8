#include "algorithm.h"

#include <array>
#include <cstring>

namespace {

using ParameterFields = std::array<int, 17>;

constexpr QK4_FhrParameter kDefaults = {4, 3,  17, 17, 120, 18, 18, 120, 6,
                                        6, 24, 15, 10, 10,  60, 1,  300};

ParameterFields fieldsOf(const QK4_FhrParameter& record) {
    ParameterFields fields;
    std::memcpy(fields.data(), &record, sizeof record);
    return fields;
}

QK4_FhrParameter recordOf(const ParameterFields& fields) {
    QK4_FhrParameter record;
    std::memcpy(&record, fields.data(), sizeof record);
    return record;
}

// Fields are checked in this order, not in field order; a failing field takes
// its default and its code becomes the result (the last failure wins).
struct FieldCheck {
    int field;
    int lower;
    int upper;
    int code;
};
constexpr FieldCheck kChecks[] = {
    {0, 2, 10, 1},    {1, 1, 5, 2},      {5, 10, 20, 3},   {6, 10, 20, 4},  {7, 30, 600, 44},
    {2, 15, 20, 5},   {3, 15, 20, 6},    {4, 30, 600, 66}, {8, 5, 15, 7},   {9, 5, 15, 8},
    {10, 20, 600, 9}, {11, 10, 35, 10},  {12, 5, 15, 11},  {13, 5, 15, 12}, {14, 20, 600, 13},
    {15, 0, 2, 7},    {16, 300, 1800, 7}};

bool inRange(int value, int lower, int upper) {
    // One unsigned comparison: values below the lower bound wrap to large numbers.
    return static_cast<unsigned>(value) - static_cast<unsigned>(lower) <=
           static_cast<unsigned>(upper) - static_cast<unsigned>(lower);
}

}  // namespace

QK4_CFhrAlgorithm::QK4_CFhrAlgorithm()
    : fhrValidMin(60),
      fhrValidMax(210),
      thresholdMinStep(-200),
      thresholdMaxAboveBaseline(300),
      defaults(kDefaults) {
    std::memset(&result, 0xFF, sizeof result);
    params = defaults;
}

void QK4_CFhrAlgorithm::clearMem() {
    std::memset(&result, 0xFF, sizeof result);
    // The lists give their storage back: a long-running host should not grow.
    std::vector<int>().swap(accLocationA);
    std::vector<int>().swap(accLocationB);
    std::vector<int>().swap(decLocationA);
    std::vector<int>().swap(decLocationB);
    fhrBaseline.clear();
    durationSeconds = 0;
}

int QK4_CFhrAlgorithm::setParameter(QK4_FhrParameter const& parameters) {
    const ParameterFields given = fieldsOf(parameters);
    const ParameterFields fallback = fieldsOf(defaults);
    ParameterFields current = fieldsOf(params);
    int code = 0;
    for (const FieldCheck& check : kChecks) {
        const int value = given[check.field];
        if (inRange(value, check.lower, check.upper)) {
            current[check.field] = value;
        } else {
            current[check.field] = fallback[check.field];
            code = check.code;
        }
    }
    params = recordOf(current);
    return code;
}

QK4_FhrParameter QK4_CFhrAlgorithm::getParameter() const { return params; }

LocationLists QK4_CFhrAlgorithm::getLocation() const {
    return {accLocationA, accLocationB, decLocationA, decLocationB};
}

std::vector<double> QK4_CFhrAlgorithm::getBaseline() const { return fhrBaseline; }

void QK4_CFhrAlgorithm::setWord(int index, int value) {
    std::memcpy(reinterpret_cast<unsigned char*>(&result) + 4 * index, &value, sizeof value);
}

int QK4_CFhrAlgorithm::word(int index) const {
    int value;
    std::memcpy(&value, reinterpret_cast<const unsigned char*>(&result) + 4 * index, sizeof value);
    return value;
}
