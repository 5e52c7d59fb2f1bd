#include "discovery.h"

#include <cstring>

#include "../vko_utils/text.h"
#include "api_log.h"
#include "config.h"

static constexpr size_t PORT_NAME_SIZE = 16;
static constexpr size_t RESULT_SIZE = 256;

plat_handle BeginEnumeratePorts() {
    return plat_devices_open("Ports");
}

int EndEnumeratePorts(plat_handle hDevices) {
    return plat_devices_close(hDevices) ? 1 : 0;
}

static void FreeNode(SerialPortNode* node) {
    plat_free(node->pName);
    plat_free(node->pFriendly);
    plat_free(node);
}

/** Reads the current device's port name, in capitals, into the empty text `strName`. It may have none. */
static void ReadPortName(plat_handle hDevices, uint32_t uiDevice, char (&strName)[PORT_NAME_SIZE]) {
    if (plat_devices_port_name(hDevices, strName, sizeof strName)) {
        strName[sizeof strName - 1] = '\0';
        API_LOG_AS("GetSerialPortInfo", VKO_LOG_INF, "Win: nDevice[%ld]\n", static_cast<long>(uiDevice));
    } else {
        API_LOG_AS("GetSerialPortInfo", VKO_LOG_WRN, " nDevice[%ld]Win: SetupDiOpenDevRegKey NotFound\n",
                   static_cast<long>(uiDevice));
    }
    plat_upper(strName);
}

/** A node with its name, not yet with a friendly name. NULL when there is no memory. */
static SerialPortNode* NewNode(const char* pName) {
    const size_t nameSize = strlen(pName) + 1;
    SerialPortNode* node = static_cast<SerialPortNode*>(plat_alloc(sizeof *node));
    if (node == nullptr) return nullptr;
    node->pName = static_cast<char*>(plat_alloc(nameSize));
    if (node->pName == nullptr) {
        plat_free(node);
        return nullptr;
    }
    memcpy(node->pName, pName, nameSize);
    node->iNumber = VKO_DecimalValue(pName + strlen("COM"));
    return node;
}

/** What became of the current device. */
enum eListing { PORT_LISTED, PORT_SKIPPED, PORT_LAST };

/** Lists the current device at `ppTail` when it is a COM port with a friendly name. */
static eListing ListPort(plat_handle hDevices, const char* pName, SerialPortNode** ppTail) {
    SerialPortNode* node = NewNode(pName);
    if (node == nullptr) return PORT_SKIPPED;
    const uint32_t uiSize = plat_devices_friendly_size(hDevices);
    // The node of a device without a friendly name is abandoned, neither listed nor freed: on purpose.
    if (uiSize == 0) return PORT_SKIPPED;
    node->pFriendly = static_cast<char*>(plat_alloc(static_cast<size_t>(uiSize) + 1));
    if (node->pFriendly == nullptr) {
        FreeNode(node);
        return PORT_SKIPPED;
    }
    const bool bRead = plat_devices_friendly(hDevices, node->pFriendly, uiSize);
    API_LOG_AS("GetSerialPortInfo", VKO_LOG_INF, "Win: SetupDiGetDeviceRegistryPropertyA:cbData\n");
    *ppTail = node;
    // A name that cannot be read still lists the port, but ends the enumeration behind it: on purpose.
    return bRead ? PORT_LISTED : PORT_LAST;
}

int GetSerialPortInfo(SerialPortNode** ppList) {
    const plat_handle hDevices = BeginEnumeratePorts();
    SerialPortNode* pHead = nullptr;
    SerialPortNode** ppTail = &pHead;
    int iFlag = 1;
    for (uint32_t uiDevice = 0; iFlag != 0; ++uiDevice) {
        if (!plat_devices_select(hDevices, uiDevice)) {
            iFlag = 0;
            // Spelled so on purpose.
            API_LOG(VKO_LOG_INF, "Win: [br]Nor Fiybd\n");
            continue;
        }
        char strName[PORT_NAME_SIZE] = {};
        ReadPortName(hDevices, uiDevice, strName);
        if (strncmp(strName, "COM", 3) != 0) continue;
        const eListing listing = ListPort(hDevices, strName, ppTail);
        if (listing != PORT_SKIPPED) ppTail = &(*ppTail)->pNext;
        if (listing == PORT_LAST) iFlag = 0;
    }
    if (EndEnumeratePorts(hDevices) == 0) {
        API_LOG(VKO_LOG_WRN, "Win: bOk[%d]FALSE hDevices[%08Xh]\n", 0, LogHandle(hDevices));
    }
    *ppList = pHead;
    // The loop ends only with flag 0, so the second line is the normal one.
    API_LOG(VKO_LOG_INF, "Win:%s\n", iFlag == 1 ? "true OK" : "false ER");
    return iFlag;
}

/** Takes the port for the device's when its friendly name carries one of the device's marks. */
static void ConsiderPort(const SerialPortNode& node, char* pucRetorno) {
    API_LOG_AS("vListComPorts", VKO_LOG_INF,
               "Win: SHGetFolderPath:{\"Number\":%d,\"Name\":\"%s\",\"Friendly\":\"%s\"}\n", node.iNumber,
               node.pName, node.pFriendly);
    if (strstr(node.pFriendly, "ZANTIR") != nullptr) {
        VKO_CopyText(pucRetorno, RESULT_SIZE, node.pName);
        API_LOG_AS("vListComPorts", VKO_LOG_INF, "Win: ZANTIR pucRetorno[%s]OK:Is a ZANTIR Port\n",
                   pucRetorno);
    } else if (strstr(node.pFriendly, "MXQ-B70") != nullptr) {
        VKO_CopyText(pucRetorno, RESULT_SIZE, node.pName);
        API_LOG_AS("vListComPorts", VKO_LOG_INF, "Win: MXQ-B70 pucRetorno[%s]OK Is a ZANTIR Port\n",
                   pucRetorno);
    } else {
        API_LOG_AS("vListComPorts", VKO_LOG_WRN, "Win: SAT Port[%s]SEARCHING....\n", pucRetorno);
    }
}

/** Lets a fixed port of at least three characters replace the port that was found. */
static void ApplyFixedPort(char* pucRetorno) {
    char strFixedPort[FIXED_PORT_SIZE] = {};
    const int rc = GetFixedSerialPort(strFixedPort);
    if (rc <= 2) return;
    const int iFound = static_cast<int>(strlen(pucRetorno));
    const int iFixed = static_cast<int>(strlen(strFixedPort));
    if (iFound == 0) {
        // A fixed port reroutes a device that was found; it does not stand in for one that was not: on
        // purpose.
        API_LOG_AS(
            "vListComPorts", VKO_LOG_WRN,
            "Win: rc[%06d]ER\n\t portNameFmt[%05d:%s] << MISSMATCH\n\t   FixedPort[%05d:%s] << UNKNW USE SAT "
            "PORT FOUND!!!\n",
            rc, iFound, pucRetorno, iFixed, strFixedPort);
    } else if (strcmp(pucRetorno, strFixedPort) == 0) {
        API_LOG_AS(
            "vListComPorts", VKO_LOG_WRN,
            "Win: rc[%06d]WR\n\t portNameFmt[%05d:%s] <<     MATCH\n\t   FixedPort[%05d:%s] << SAT MAY "
            "RESPONDS!!!\n",
            rc, iFound, pucRetorno, iFixed, strFixedPort);
    } else {
        API_LOG_AS(
            "vListComPorts", VKO_LOG_WRN,
            "Win: rc[%06d]ER\n\t portNameFmt[%05d:%s] << MISSMATCH SAT FOUND HERE!!\n\t   FixedPort[%05d:%s] << "
            "CUSTOMER SET THIS VALUE TO BE USED >> SAT MAY FAIL!!!!!\n",
            rc, iFound, pucRetorno, iFixed, strFixedPort);
        VKO_CopyText(pucRetorno, RESULT_SIZE, strFixedPort);
    }
}

void vListComPorts(char* pucRetorno) {
    if (pucRetorno == nullptr) {
        API_LOG(VKO_LOG_ERR, "Win:ER pucRetorno=NULL\n");
        return;
    }
    pucRetorno[0] = '\0';
    SerialPortNode* pNode = nullptr;
    GetSerialPortInfo(&pNode);
    while (pNode != nullptr) {
        SerialPortNode* pNext = pNode->pNext;
        ConsiderPort(*pNode, pucRetorno);
        FreeNode(pNode);
        pNode = pNext;
    }
    ApplyFixedPort(pucRetorno);
}
