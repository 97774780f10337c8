// The four rating methods: each a driver over the stages plus a scoring step.
#pragma once

#include "algorithm.h"

class QK4_CFhrKrebs : public QK4_CFhrAlgorithm {
public:
    QK4_FhrResult calFhrScore(int const* fhr, int const* fm, int length, int rate);
    int auto_Krebs();
};

class QK4_CFhrFischer2 : public QK4_CFhrAlgorithm {
public:
    QK4_CFhrFischer2() { methodConstant = 15; }
    QK4_FhrResult calFhrScore(int const* fhr, int const* uc, int const* fm, int length,
                              int sampleRate);
    int auto_Fischer2();

    // Mask of the heart-rate peak regions found on the low-passed raw trace.
    std::vector<int> peakRegionMask(const std::vector<double>& rawTrace) const;
    // Groups the accelerations by the regions of (peak mask OR acceleration mask):
    // per region the highest acceleration's trigger position and value.
    static void groupAccelerations(const std::vector<int>& peakMask, const EventLists& acc,
                                   std::vector<int>& groupedPositions,
                                   std::vector<int>& groupedValues);
    // 1 when at least two contractions last over 50 samples and rise over 20 above
    // the contraction baseline at their paired peak.
    static int strongContractionFlag(const Contractions& contractions,
                                     const std::vector<double>& ucBase);

    int methodConstant;
};

class QK4_CFhrAcog : public QK4_CFhrAlgorithm {
public:
    QK4_CFhrAcog() { methodConstant = 15; }
    QK4_FhrResult calFhrScore(int const* fhr, int const* uc, int const* fm, int length,
                              int sampleRate);
    int auto_Acog();

    int methodConstant;
};

class QK4_CFhrUC : public QK4_CFhrAlgorithm {
public:
    QK4_CFhrUC() { methodConstant = 15; }
    QK4_FhrResult calFhrScore(int const* fhr, int const* uc, int const* fm, int length, int rate);
    // The scoring is part of the run (rateContractions); this step does nothing.
    int auto_UC() { return 0; }
    void rateContractions(const Contractions& found, const std::vector<int>& contraction, int rate);

    int methodConstant;
};
