#include "export.h"

#include <string.h>

static const struct {
    const char* name;
    const char* shape;
} exports[] = {
    {"AtivarSAT", "iissi"},
    {"ComunicarCertificadoICPBRASIL", "iss"},
    {"EnviarDadosVenda", "iss"},
    {"CancelarUltimaVenda", "isss"},
    {"ConsultarSAT", "i"},
    {"TesteFimAFim", "iss"},
    {"ConsultarStatusOperacional", "is"},
    {"ConsultarNumeroSessao", "isi"},
    {"ConfigurarInterfaceDeRede", "iss"},
    {"AssociarAssinatura", "isss"},
    {"ExtrairLogs", "is"},
    {"BloquearSAT", "is"},
    {"DesbloquearSAT", "is"},
    {"TrocarCodigoDeAtivacao", "isiss"},
    {"AtualizarSoftwareSAT", "is"},
    {"ConsultarUltimaSessaoFiscal", "is"},
    {"VersaoDllZantir", ""},
};

typedef const char* (*call_none)(void);
typedef const char* (*call_i)(int);
typedef const char* (*call_is)(int, const char*);
typedef const char* (*call_isi)(int, const char*, int);
typedef const char* (*call_iss)(int, const char*, const char*);
typedef const char* (*call_isss)(int, const char*, const char*, const char*);
typedef const char* (*call_isiss)(int, const char*, int, const char*, const char*);
typedef const char* (*call_iissi)(int, int, const char*, const char*, int);

const char* export_shape(const char* name) {
    for (size_t i = 0; i < sizeof exports / sizeof exports[0]; ++i) {
        if (strcmp(exports[i].name, name) == 0) return exports[i].shape;
    }
    return NULL;
}

const char* export_call(library_function function, const char* shape, const struct argument* a) {
    const int session = a[0].number;
    if (strcmp(shape, "") == 0) return ((call_none)function)();
    if (strcmp(shape, "i") == 0) return ((call_i)function)(session);
    if (strcmp(shape, "is") == 0) return ((call_is)function)(session, a[1].text);
    if (strcmp(shape, "isi") == 0) return ((call_isi)function)(session, a[1].text, a[2].number);
    if (strcmp(shape, "iss") == 0) return ((call_iss)function)(session, a[1].text, a[2].text);
    if (strcmp(shape, "isss") == 0) return ((call_isss)function)(session, a[1].text, a[2].text, a[3].text);
    if (strcmp(shape, "isiss") == 0) {
        return ((call_isiss)function)(session, a[1].text, a[2].number, a[3].text, a[4].text);
    }
    return ((call_iissi)function)(session, a[1].number, a[2].text, a[3].text, a[4].number);
}
