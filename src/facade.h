// The process-wide facade behind the exported functions.
#pragma once

#include <memory>
#include <vector>

#include "methods.h"

class QK4_CFhr {
public:
    QK4_CFhr();
    QK4_CFhr(const QK4_CFhr&) = delete;
    QK4_CFhr& operator=(const QK4_CFhr&) = delete;

    // The single facade, created on first use and never destroyed.
    static QK4_CFhr* instance();
    static QK4_CFhr* mInstance;

    void setParameter(QK4_FhrParameter* parameters);
    QK4_FhrParameter* getParameter();

    int* calFhrKrebs(int const* fhr, int const* fm, int length, int rate);
    int* calFhrUC(int const* fhr, int const* uc, int const* fm, int length, int rate);
    int* calFhrFischer2(int const* fhr, int const* uc, int const* fm, int length, int rate);
    int* calFhrAcog(int const* fhr, int const* uc, int const* fm, int length, int rate);

    // Method index: 0 Krebs, 1 Fischer, 2 ACOG, 3 UC, anything else Krebs.
    QK4_FhrLocation* getLocation(int method);
    QK4_FhrBaseline* getBaseline(int method);

    QK4_FhrLocation* getKrebsLocation() { return getLocation(0); }
    QK4_FhrBaseline* getKrebsBaseline() { return getBaseline(0); }
    QK4_FhrLocation* getFischer2Location() { return getLocation(1); }
    QK4_FhrBaseline* getFischer2Baseline() { return getBaseline(1); }
    QK4_FhrLocation* getAcogLocation() { return getLocation(2); }
    QK4_FhrBaseline* getAcogBaseline() { return getBaseline(2); }
    QK4_FhrLocation* getUCLocation() { return getLocation(3); }
    QK4_FhrBaseline* getUCBaseline() { return getBaseline(3); }

private:
    const QK4_CFhrAlgorithm& analyzer(int method) const;
    int* store(const QK4_FhrResult& runResult);
    int* exportList(const std::vector<int>& list, QK4_FhrList& pair);

    QK4_CFhrUC uc;
    QK4_CFhrFischer2 fischer;
    QK4_CFhrKrebs krebs;
    QK4_CFhrAcog acog;
    QK4_FhrResult result;
    QK4_FhrParameter parameters;
    QK4_FhrLocation locationExport{};
    QK4_FhrBaseline baselineExport{};
    // Every array ever handed out stays alive for the life of the process, so
    // pointers from earlier getter calls remain valid.
    std::vector<std::unique_ptr<int[]>> exportedInts;
    std::vector<std::unique_ptr<double[]>> exportedDoubles;
};
