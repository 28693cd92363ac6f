#include <algorithm>
#include <array>

#include "VICTORY/VGpsReceiverServer/VGpsReceiverServer.h"
#include "face/HC_Config.h"
#include "platform/FPGA.h"

using FACE::RETURN_CODE_TYPE;

void VGpsReceiverServer::Framework_Connect(const FACE::String& /*file*/, ReturnCode& rc) {
    const bool devices = connectDevices();
    if (devices) {
        FpgaFace::Instance().InitFpga(m_devmem);
    }
    // The service comes up in any case: the bus sees a unit that is there but silent.
    const bool service = InitializeVictory(nullptr);
    rc = devices && service ? RETURN_CODE_TYPE::NO_ERROR : RETURN_CODE_TYPE::INVALID_CONFIG;
}

bool VGpsReceiverServer::connectDevices() {
    const auto config = std::make_shared<FACE::HC_Config>();
    m_devmem = std::make_shared<FACE::IOSS::HC_Devmem>();
    m_gssipMcsq = std::make_shared<GssipMcsq>(m_serverName);

    std::array<ReturnCode, 5> codes;
    codes.fill(RETURN_CODE_TYPE::NOT_AVAILABLE);
    m_devmem->Set_Reference(FACE::String(), config, 0, codes[0]);
    if (codes[0] != RETURN_CODE_TYPE::NO_ERROR) {
        return false;
    }
    m_devmem->Initialize(m_ioDevicesFile, codes[0]);
    m_gssipMcsq->Connect_ReadOnly(
        m_ioDevicesFile, "TYR_HC",
        [this](const aspn2_msgs::idl::GSSIP& message) { cbGssip(message); }, codes[1]);
    m_gssipMcsq->Connect_ReadOnly(
        m_ioDevicesFile, "DT_OUT", [](const aspn2_msgs::idl::GSSIP&) {}, codes[2]);
    m_gssipMcsq->Connect_WriteOnly(m_ioDevicesFile, "HC_TYR", m_gssipWriteConnection, codes[3]);
    m_gssipMcsq->Connect_WriteOnly(m_ioDevicesFile, "DT_IN", m_dtInConnection, codes[4]);
    return std::ranges::all_of(codes,
                               [](ReturnCode code) { return code == RETURN_CODE_TYPE::NO_ERROR; });
}

void VGpsReceiverServer::Framework_Disconnect(ReturnCode& rc) {
    FpgaFace::Instance().DoneFpga();
    vgpssDeleteService(m_vgpssService.take());
    rc = RETURN_CODE_TYPE::NO_ERROR;
}
