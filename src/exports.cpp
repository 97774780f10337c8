// The 14 exported functions: each reaches the process-wide facade (creating it
// on first use) and forwards its arguments.
#include "ctgscore.h"
#include "facade.h"

extern "C" {

void QK4_setParameter(QK4_FhrParameter* parameters) {
    QK4_CFhr::instance()->setParameter(parameters);
}
QK4_FhrParameter* QK4_getParameter(void) { return QK4_CFhr::instance()->getParameter(); }

int* QK4_calFhrKrebs(int const* fhr, int const* fm, int length, int rate) {
    return QK4_CFhr::instance()->calFhrKrebs(fhr, fm, length, rate);
}
QK4_FhrLocation* QK4_getKrebsLocation(void) { return QK4_CFhr::instance()->getKrebsLocation(); }
QK4_FhrBaseline* QK4_getKrebsBaseline(void) { return QK4_CFhr::instance()->getKrebsBaseline(); }

int* QK4_calFhrUC(int const* fhr, int const* uc, int const* fm, int length, int rate) {
    return QK4_CFhr::instance()->calFhrUC(fhr, uc, fm, length, rate);
}
QK4_FhrLocation* QK4_getUCLocation(void) { return QK4_CFhr::instance()->getUCLocation(); }
QK4_FhrBaseline* QK4_getUCBaseline(void) { return QK4_CFhr::instance()->getUCBaseline(); }

int* QK4_calFhrFischer2(int const* fhr, int const* uc, int const* fm, int length, int rate) {
    return QK4_CFhr::instance()->calFhrFischer2(fhr, uc, fm, length, rate);
}
QK4_FhrLocation* QK4_getFischer2Location(void) {
    return QK4_CFhr::instance()->getFischer2Location();
}
QK4_FhrBaseline* QK4_getFischer2Baseline(void) {
    return QK4_CFhr::instance()->getFischer2Baseline();
}

}  // extern "C"

int* QK4_calFhrAcog(int const* fhr, int const* uc, int const* fm, int length, int rate) {
    return QK4_CFhr::instance()->calFhrAcog(fhr, uc, fm, length, rate);
}
QK4_FhrLocation* QK4_getAcogLocation() { return QK4_CFhr::instance()->getAcogLocation(); }
QK4_FhrBaseline* QK4_getAcogBaseline() { return QK4_CFhr::instance()->getAcogBaseline(); }
