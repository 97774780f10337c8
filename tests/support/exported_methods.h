// The four rating methods as a host reaches them: one run function and the
// two getters each, under one signature.
#pragma once

#include "ctgscore.h"

namespace testing_support {

inline int* runKrebs(const int* fhr, const int*, const int* fm, int length, int rate) {
    return QK4_calFhrKrebs(fhr, fm, length, rate);
}

struct ExportedMethod {
    const char* name;    // as in the run log's "Type : " line
    int minimumMinutes;  // the shortest recording it analyzes
    int* (*run)(const int* fhr, const int* uc, const int* fm, int length, int rate);
    QK4_FhrLocation* (*location)();
    QK4_FhrBaseline* (*baseline)();
};

inline const ExportedMethod kKrebs{"Krebs", 1, runKrebs, QK4_getKrebsLocation,
                                   QK4_getKrebsBaseline};
inline const ExportedMethod kFischer{"Fischer2", 5, QK4_calFhrFischer2, QK4_getFischer2Location,
                                     QK4_getFischer2Baseline};
inline const ExportedMethod kAcog{"ACOG", 1, QK4_calFhrAcog, QK4_getAcogLocation,
                                  QK4_getAcogBaseline};
inline const ExportedMethod kUc{"UC", 1, QK4_calFhrUC, QK4_getUCLocation, QK4_getUCBaseline};
inline const ExportedMethod kExportedMethods[] = {kKrebs, kFischer, kAcog, kUc};

inline bool operator==(const ExportedMethod& a, const ExportedMethod& b) { return a.run == b.run; }

}  // namespace testing_support
