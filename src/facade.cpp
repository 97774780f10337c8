#include "facade.h"

#include <algorithm>
#include <cstring>

QK4_CFhr* QK4_CFhr::mInstance = nullptr;

QK4_CFhr::QK4_CFhr() {
    std::memset(&result, 0xFF, sizeof result);
    std::memset(&parameters, 0xFF, sizeof parameters);  // every field "not set"
}

QK4_CFhr* QK4_CFhr::instance() {
    if (mInstance == nullptr) mInstance = new QK4_CFhr();
    return mInstance;
}

void QK4_CFhr::setParameter(QK4_FhrParameter* given) {
    if (given != nullptr) parameters = *given;
}

// Fields 8 to 14 are deliberately left out of the "not set" test.
QK4_FhrParameter* QK4_CFhr::getParameter() {
    const QK4_FhrParameter& p = parameters;
    const int tested[] = {p.varAmplitudeMin, p.varCycleMin,    p.accMinDuration,  p.accMinAmplitude,
                          p.accMinSpacing,   p.decMinDuration, p.decMinAmplitude, p.decMinSpacing,
                          p.fmMode,          p.reserved16};
    if (std::find(std::begin(tested), std::end(tested), -1) != std::end(tested)) {
        parameters = QK4_CFhrAlgorithm().getParameter();
    }
    return &parameters;
}

int* QK4_CFhr::store(const QK4_FhrResult& runResult) {
    result = runResult;
    return reinterpret_cast<int*>(&result);
}

int* QK4_CFhr::calFhrKrebs(int const* fhr, int const* fm, int length, int rate) {
    krebs.setParameter(parameters);
    return store(krebs.calFhrScore(fhr, fm, length, rate));
}

int* QK4_CFhr::calFhrUC(int const* fhr, int const* uc, int const* fm, int length, int rate) {
    this->uc.setParameter(parameters);
    return store(this->uc.calFhrScore(fhr, uc, fm, length, rate));
}

int* QK4_CFhr::calFhrFischer2(int const* fhr, int const* uc, int const* fm, int length, int rate) {
    fischer.setParameter(parameters);
    return store(fischer.calFhrScore(fhr, uc, fm, length, rate));
}

int* QK4_CFhr::calFhrAcog(int const* fhr, int const* uc, int const* fm, int length, int rate) {
    acog.setParameter(parameters);
    return store(acog.calFhrScore(fhr, uc, fm, length, rate));
}

const QK4_CFhrAlgorithm& QK4_CFhr::analyzer(int method) const {
    switch (method) {
        case 1:
            return fischer;
        case 2:
            return acog;
        case 3:
            return uc;
        default:
            return krebs;
    }
}

int* QK4_CFhr::exportList(const std::vector<int>& list, QK4_FhrList& pair) {
    exportedInts.push_back(std::make_unique<int[]>(list.size()));
    std::copy(list.begin(), list.end(), exportedInts.back().get());
    pair.count = static_cast<int>(list.size());
    pair.data = exportedInts.back().get();
    return pair.data;
}

QK4_FhrLocation* QK4_CFhr::getLocation(int method) {
    const LocationLists lists = analyzer(method).getLocation();
    exportList(lists.accLocationA, locationExport.accelerationStarts);
    exportList(lists.accLocationB, locationExport.accelerationEnds);
    exportList(lists.decLocationA, locationExport.decelerationStarts);
    exportList(lists.decLocationB, locationExport.decelerationEnds);
    return &locationExport;
}

QK4_FhrBaseline* QK4_CFhr::getBaseline(int method) {
    const std::vector<double> curve = analyzer(method).getBaseline();
    exportedDoubles.push_back(std::make_unique<double[]>(curve.size()));
    std::copy(curve.begin(), curve.end(), exportedDoubles.back().get());
    baselineExport.count = static_cast<int>(curve.size());
    baselineExport.data = exportedDoubles.back().get();
    return &baselineExport;
}
