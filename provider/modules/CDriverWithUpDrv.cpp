#include "provider/modules/CDriverWithUpDrv.h"

#include "provider/common/TraceScope.h"

CDriverWithUpDrv::CDriverWithUpDrv(std::string deviceId) : CDriver(deviceId) {
    const TraceScope trace("CDriverWithUpDrv::CDriverWithUpDrv");
}

CDriverWithUpDrv::CDriverWithUpDrv(std::string deviceId, std::string moduleName)
    : CDriver(deviceId, moduleName) {
    const TraceScope trace("CDriverWithUpDrv::CDriverWithUpDrv");
}

CDriverWithUpDrv::~CDriverWithUpDrv() {
    const TraceScope trace("CDriverWithUpDrv::~CDriverWithUpDrv");
}
