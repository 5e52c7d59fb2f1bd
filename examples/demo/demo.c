/*
 * demo LIBRARY SALE.xml CANCELLATION.xml [ACTIVATION CODE]
 *
 * A point-of-sale program in small: loads the library, asks the device how it is, sells, and cancels the
 * sale. Prints each reply field by field, and ends with 1 and a sentence as soon as anything is not as it
 * should be.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "reply.h"

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <dlfcn.h>
#endif

// A reply is decoded into one buffer; the library's own is no larger.
#define LARGEST_REPLY 10485760

typedef void (*any_function)(void);
typedef const char* (*function_1)(int session);
typedef const char* (*function_2)(int session, const char* code);
typedef const char* (*function_3)(int session, const char* code, const char* sale);
typedef const char* (*function_4)(int session, const char* code, const char* key, const char* cancellation);

/** What a reply must look like. */
struct shape {
    const char* command;
    const char* code;          ///< the field EEEEE when all is well
    const char* const* names;  ///< of the fields, ended by NULL
};

static const char* const greeting_names[] = {"numeroSessao", "EEEEE",         "mensagem",
                                             "cod",          "mensagemSEFAZ", NULL};

static const char* const status_names[] = {
    "numeroSessao",    "EEEEE",           "mensagem",        "cod",        "mensagemSEFAZ",
    "NSERIE",          "TIPO_LAN",        "LAN_IP",          "LAN_MAC",    "LAN_MASK",
    "LAN_GW",          "LAN_DNS_1",       "LAN_DNS_2",       "STATUS_LAN", "NIVEL_BATERIA",
    "MT_TOTAL",        "MT_USADA",        "DH_ATUAL",        "VER_SB",     "VER_LAYOUT",
    "ULTIMO_CF_E_SAT", "LISTA_INICIAL",   "LISTA_FINAL",     "DH_CFE",     "DH_ULTIMA",
    "CERT_EMISSAO",    "CERT_VENCIMENTO", "ESTADO_OPERACAO", NULL};

static const char* const receipt_names[] = {"numeroSessao",
                                            "EEEEE",
                                            "CCCC",
                                            "mensagem",
                                            "cod",
                                            "mensagemSEFAZ",
                                            "arquivoCFeBase64",
                                            "timeStamp",
                                            "chaveConsulta",
                                            "valorTotalCFe",
                                            "CPFCNPJValue",
                                            "assinaturaQRCODE",
                                            NULL};

static const struct shape greeting = {"ConsultarSAT", "08000", greeting_names};
static const struct shape status = {"ConsultarStatusOperacional", "10000", status_names};
static const struct shape sale_shape = {"EnviarDadosVenda", "06000", receipt_names};
static const struct shape cancellation_shape = {"CancelarUltimaVenda", "07000", receipt_names};

static void fail(const char* command, const char* sentence, const char* detail) {
    fflush(stdout);
    fprintf(stderr, "demo: %s: %s%s\n", command, sentence, detail);
    exit(1);
}

static double now_ms(void) {
#ifdef _WIN32
    LARGE_INTEGER frequency;
    LARGE_INTEGER counter;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&counter);
    return (double)counter.QuadPart * 1000.0 / (double)frequency.QuadPart;
#else
    struct timespec now = {0, 0};
    timespec_get(&now, TIME_UTC);
    return (double)now.tv_sec * 1000.0 + (double)now.tv_nsec / 1e6;
#endif
}

static any_function find_function(const char* library_path, const char* name) {
    any_function function = NULL;
#ifdef _WIN32
    HMODULE library = LoadLibraryA(library_path);
    if (library == NULL) fail(library_path, "the library cannot be loaded", "");
    function = (any_function)GetProcAddress(library, name);
#else
    void* library = dlopen(library_path, RTLD_NOW);
    if (library == NULL) fail(library_path, "the library cannot be loaded: ", dlerror());
    void* symbol = dlsym(library, name);
    memcpy(&function, &symbol, sizeof function);
#endif
    if (function == NULL) fail(name, "the library does not export this function", "");
    return function;
}

// The whole file as a text; the caller frees it.
static char* read_file(const char* path) {
    FILE* file = fopen(path, "rb");
    char* text = NULL;
    if (file == NULL) fail(path, "the file cannot be opened", "");
    fseek(file, 0, SEEK_END);
    const long size = ftell(file);
    rewind(file);
    if (size >= 0) text = malloc((size_t)size + 1);
    if (text == NULL) fail(path, "the file cannot be read", "");
    text[fread(text, 1, (size_t)size, file)] = '\0';
    fclose(file);
    return text;
}

// Session numbers must differ from call to call and say nothing about their order: 1 to 999999 at random.
static int next_session(void) {
    static unsigned long state = 0;
    if (state == 0)
        state = (unsigned long)time(NULL) ^ (unsigned long)(now_ms() * 1000.0) ^ (unsigned long)clock();
    state = (state * 1103515245UL + 12345UL) & 0x7FFFFFFFUL;
    return (int)(state >> 8) % 999999 + 1;
}

// A long Base64 text is of no use on a screen: its start, its length and what it holds.
static void print_field(const char* name, const char* value) {
    const size_t length = strlen(value);
    if (length <= 64) {
        printf("  %s: %s\n", name, value);
        return;
    }
    const long decoded = base64_decode(value, NULL);
    printf("  %s: %.40s... (%lu characters", name, value, (unsigned long)length);
    if (decoded >= 0) printf(" of Base64, %ld bytes decoded", decoded);
    printf(")\n");
}

static void print_reply(const struct shape* shape, const struct reply* reply) {
    for (size_t i = 0; i < reply->count && i < REPLY_MOST_FIELDS && shape->names[i] != NULL; ++i) {
        print_field(shape->names[i], reply->fields[i]);
    }
}

static size_t count_names(const struct shape* shape) {
    size_t count = 0;
    while (shape->names[count] != NULL)
        count++;
    return count;
}

// Prints a reply and checks it: not an error text of the library, this session, the right code, every field.
static void take_reply(const struct shape* shape, int session, double start, const char* text,
                       struct reply* reply) {
    const double duration = now_ms() - start;
    if (text == NULL) fail(shape->command, "the library returned no reply", "");
    if (strncmp(text, "SAT Erro[", 9) == 0) fail(shape->command, "the exchange failed: ", text);
    if (!reply_split(text, reply)) fail(shape->command, "no memory for the reply", "");
    printf("%s, session %06d, %.0f ms\n", shape->command, session, duration);
    print_reply(shape, reply);
    if (reply->count < 2) fail(shape->command, "this is not a device's reply: ", text);
    if (strtol(reply->fields[0], NULL, 10) != session)
        fail(shape->command, "the reply is of session ", reply->fields[0]);
    if (strcmp(reply->fields[1], shape->code) != 0) {
        fail(shape->command, "the device did not do it, its code is ", reply->fields[1]);
    }
    if (reply->count != count_names(shape))
        fail(shape->command, "the reply has the wrong number of fields", "");
}

// The receipt inside a reply must be XML that carries the key that the reply names.
static void check_receipt(const struct shape* shape, const struct reply* reply) {
    const char* encoded = reply->fields[6];
    const char* key = reply->fields[8];
    if (strlen(key) != 47 || strncmp(key, "CFe", 3) != 0)
        fail(shape->command, "this is no receipt's key: ", key);
    if (strlen(encoded) >= LARGEST_REPLY) fail(shape->command, "the receipt is too long", "");
    char* xml = malloc(strlen(encoded) + 1);
    if (xml == NULL) fail(shape->command, "no memory for the receipt", "");
    const long size = base64_decode(encoded, xml);
    if (size < 0) fail(shape->command, "the receipt is not Base64", "");
    xml[size] = '\0';
    if (strstr(xml, "<infCFe") == NULL || strstr(xml, key) == NULL) {
        fail(shape->command, "the receipt does not carry its key ", key);
    }
    printf("  arquivoCFeBase64 holds %ld bytes of XML\n", size);
    free(xml);
}

// The cancellation with the sale's key in the place that is kept for it.
static char* fill_in_key(const char* pattern, const char* key) {
    static const char place_holder[] = "@CHAVE@";
    const char* place = strstr(pattern, place_holder);
    if (place == NULL) fail("cancellation", "the file has no place for the key: ", place_holder);
    const size_t size = strlen(pattern) + strlen(key) + 1;
    char* text = malloc(size);
    if (text == NULL) fail("cancellation", "no memory", "");
    snprintf(text, size, "%.*s%s%s", (int)(place - pattern), pattern, key, place + sizeof place_holder - 1);
    return text;
}

static void ask_device(const char* library, const char* code) {
    struct reply reply;
    int session = next_session();
    const function_1 greet = (function_1)find_function(library, "ConsultarSAT");
    double start = now_ms();
    take_reply(&greeting, session, start, greet(session), &reply);
    reply_free(&reply);

    session = next_session();
    const function_2 ask_status = (function_2)find_function(library, "ConsultarStatusOperacional");
    start = now_ms();
    take_reply(&status, session, start, ask_status(session, code), &reply);
    reply_free(&reply);
}

static void sell_and_cancel(const char* library, const char* code, const char* sale, const char* pattern) {
    struct reply sold;
    struct reply cancelled;
    int session = next_session();
    const function_3 sell = (function_3)find_function(library, "EnviarDadosVenda");
    double start = now_ms();
    take_reply(&sale_shape, session, start, sell(session, code, sale), &sold);
    check_receipt(&sale_shape, &sold);

    char* cancellation = fill_in_key(pattern, sold.fields[8]);
    session = next_session();
    const function_4 cancel = (function_4)find_function(library, "CancelarUltimaVenda");
    start = now_ms();
    take_reply(&cancellation_shape, session, start, cancel(session, code, sold.fields[8], cancellation),
               &cancelled);
    check_receipt(&cancellation_shape, &cancelled);
    if (strcmp(sold.fields[9], cancelled.fields[9]) != 0) {
        fail(cancellation_shape.command,
             "the cancelled total differs from the sale's: ", cancelled.fields[9]);
    }
    free(cancellation);
    reply_free(&sold);
    reply_free(&cancelled);
}

int main(int argc, char** argv) {
    if (argc < 4 || argc > 5) {
        fprintf(stderr, "usage: demo LIBRARY SALE.xml CANCELLATION.xml [ACTIVATION CODE]\n");
        return 2;
    }
    const char* code = argc > 4 ? argv[4] : "12345678";
    char* sale = read_file(argv[2]);
    char* pattern = read_file(argv[3]);
    ask_device(argv[1], code);
    sell_and_cancel(argv[1], code, sale, pattern);
    free(sale);
    free(pattern);
    return 0;
}
