#include <cstring>
#include <iterator>
#include <numeric>
#include <string_view>

#include "../vko_utils/files.h"
#include "api_log.h"
#include "config.h"
#include "state.h"

/**
 * The default file, a block an entry. "funcaes" is spelled so, some values differ from the built-in defaults,
 * and the hint about FixarPorta stands in front of its section, where the search for the key cannot find it:
 * all on purpose.
 */
static constexpr std::string_view DEFAULT_BLOCKS[] = {
    "#\n"
    "# IMPORTANTE: Para fixar a porta adicione >> FixarPorta=<NomeDaPorta>\n"
    "#\n"
    "[SERIAL_PORT_CONFIG]\n"
    "SerialPortConfig=115200,8,N,1\n"
    "ReadIntervalTimeout=10\n"
    "ReadTotalTimeoutMultiplier=1\n"
    "ReadTotalTimeoutConstant=1\n"
    "WriteTotalTimeoutMultiplier=1\n"
    "WriteTotalTimeoutConstant=1000\n"
    "\n",

    "#\n"
    "# Define o timeout em Segundos de resposta para as funcaes do SAT\n"
    "#\n"
    "[SAT_TIMEOUT]\n"
    "AtivarSAT                     =1800\n"
    "ComunicarCertificadoICPBRASIL = 300\n"
    "EnviarDadosVenda              =  30\n"
    "CancelarUltimaVenda           =  30\n"
    "ConsultarSAT                  =  10\n"
    "TesteFimAFim                  =  20\n"
    "ConsultarStatusOperacional    =  10\n"
    "ConsultarNumeroSessao         =  20\n"
    "ConfigurarInterfaceDeRede     =  20\n"
    "AssociarAssinatura            =1800\n"
    "AtualizarSoftwareSAT          =1800\n"
    "ExtrairLogs                   =  30\n"
    "BloquearSAT                   = 300\n"
    "DesbloquearSAT                =  20\n"
    "TrocarCodigoDeAtivacao        =  30\n"
    "ConsultarUltimaSessaoFiscal   =  20\n"
    "\n",

    "#\n"
    "# SAT_EMULATOR <default>0=Disable\n"
    "#\n"
    "[SAT_EMULATOR]\n"
    "SerialPortWindows=CNCA0\n"
    "SerialPortLinux=/dev/ttyVSP0\n"
    "Enable=0\n"
    "\n",

    "#\n"
    "# CupomDesk <default>0=Disable\n"
    "#\n"
    "[CUPOM_DESK]\n"
    "PathWindows=C:\\ProgramData\\CupomDesk\\Cupons\\New\n"
    "PathLinux=/etc/CupomDesk/Cupons/New\n"
    "Enable=0\n"
    "\n",

    "#\n"
    "# LogMode 0=Disable, 1=Error, 2=Warning, 3=Info, 4=Trace, 5=Debug\n"
    "#\n"
    "[LOG]\n"
    "LogFilePath=Log\n"
    "LogFileName=\n"
    "LogFileMaxSize=1300000\n"
    "LogMode=1\n"
    "\n",
};

/** The file is assembled in a zeroed buffer of this size before it is written. */
static constexpr size_t FILE_BUFFER_SIZE = 8192;
static_assert(std::accumulate(std::begin(DEFAULT_BLOCKS), std::end(DEFAULT_BLOCKS), size_t{},
                              [](size_t length, std::string_view block) { return length + block.size(); }) <
              FILE_BUFFER_SIZE);

/**
 * Writes the whole file, or leaves what was there. A file that was cut off would be taken for the customer's
 * own from now on, with a time-out of 3 s, say, where 30 was to stand.
 */
static bool WriteDefaultFile(char* pBuffer) {
    size_t length = 0;
    for (const std::string_view block : DEFAULT_BLOCKS) {
        memcpy(pBuffer + length, block.data(), block.size());
        length += block.size();
    }
    return plat_file_replace(ZANTIR_INI_FILE, pBuffer, length);
}

int CreateFile_ZantirIni() {
    const int iFound = VKO_FileExist(ZANTIR_INI_FILE);
    if (!IniMissing(iFound)) {
        API_LOG(VKO_LOG_INF, " rc[%06d]OK file[%s]Already Exist!\n", iFound, ZANTIR_INI_FILE);
        return iFound;
    }
    char* pBuffer = static_cast<char*>(plat_alloc(FILE_BUFFER_SIZE));
    if (pBuffer == nullptr) {
        API_LOG(VKO_LOG_ERR, " rc[%06d]ER file[%s] calloc fail!!!\n", iFound, ZANTIR_INI_FILE);
        return iFound;
    }
    const bool bWritten = WriteDefaultFile(pBuffer);
    plat_free(pBuffer);
    const int iSize = bWritten ? VKO_FileExist(ZANTIR_INI_FILE) : iFound;
    if (IniMissing(iSize)) {
        API_LOG(VKO_LOG_ERR, " rc[%06d]ER file[%s]Could not be Created!!!\n", iSize, ZANTIR_INI_FILE);
    } else {
        API_LOG(VKO_LOG_WRN, " rc[%06d]OK file[%s]Successfull Created!!!\n", iSize, ZANTIR_INI_FILE);
    }
    return iSize;
}
