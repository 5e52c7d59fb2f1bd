/*
 * A complete sale: venda VENDA.xml [CODIGO]. Ends with 0 sold, 1 refused, 2 device not reached.
 *
 * Linked against the library (libZANTIR64.dll.a or libzantir64.so): the system loads it before main.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "../demo/reply.h"
#include "zantir.h"

#ifdef _WIN32
#include <windows.h>
static void pause_ms(unsigned milliseconds) {
    Sleep(milliseconds);
}
static unsigned fine_time(void) {
    LARGE_INTEGER ticks;
    QueryPerformanceCounter(&ticks);
    return (unsigned)ticks.QuadPart;
}
#else
static void pause_ms(unsigned milliseconds) {
    const struct timespec time = {milliseconds / 1000, (long)(milliseconds % 1000) * 1000000};
    nanosleep(&time, NULL);
}
static unsigned fine_time(void) {
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return (unsigned)now.tv_sec * 1000003U + (unsigned)now.tv_nsec;
}
#endif

enum { BUSY_TRIES = 5 };

/** What a call came to. */
enum outcome { REPLIED, LOST, UNREACHED };

static int new_session(void) {
    return 1 + rand() % 999999;
}

static const char* field(const struct reply* reply, size_t place) {
    return place < reply->count && place < REPLY_MOST_FIELDS ? reply->fields[place] : "";
}

static int is_busy(const struct reply* reply) {
    const char* code = field(reply, 1);
    const size_t length = strlen(code);
    return length > 3 && strcmp(code + length - 3, "098") == 0;
}

/** Takes a copy of the library's text, which the next call overwrites. */
static enum outcome take(const char* text, struct reply* reply) {
    if (strncmp(text, "SAT Erro[", 9) != 0 && text[0] != '\x02') {
        if (reply_split(text, reply)) return REPLIED;
        puts("Sem memoria");
        return UNREACHED;
    }
    // After these two the device may have carried the command out.
    const int lost = strstr(text, "L[2114]") != NULL || strstr(text, "L[2127]") != NULL;
    printf("%s: %s\n", lost ? "Resposta perdida" : "Sem comunicacao", text);
    return lost ? LOST : UNREACHED;
}

/** Whether the device was busy and is to be asked again; it says so with a code that ends in 098. */
static int try_again(enum outcome outcome, struct reply* reply, int tries) {
    if (outcome != REPLIED || !is_busy(reply) || tries == BUSY_TRIES) return 0;
    printf("Equipamento ocupado (%s), nova tentativa\n", field(reply, 1));
    reply_free(reply);
    pause_ms(500);
    return 1;
}

static enum outcome send_sale(int session, const char* code, const char* xml, struct reply* reply) {
    for (int tries = 1;; ++tries) {
        const enum outcome outcome = take(EnviarDadosVenda(session, code, xml), reply);
        if (!try_again(outcome, reply, tries)) return outcome;
    }
}

static enum outcome ask_session(const char* code, int session, struct reply* reply) {
    for (int tries = 1;; ++tries) {
        const enum outcome outcome = take(ConsultarNumeroSessao(new_session(), code, session), reply);
        if (!try_again(outcome, reply, tries)) return outcome;
    }
}

/** The reply to the sale; when it is lost on the way, what the device stored under its session number. */
static enum outcome sell(const char* code, const char* xml, struct reply* reply) {
    const int session = new_session();
    enum outcome outcome = send_sale(session, code, xml, reply);
    if (outcome != LOST) return outcome;
    outcome = ask_session(code, session, reply);
    if (outcome != REPLIED || strcmp(field(reply, 1), "11003") != 0) return outcome;
    reply_free(reply);
    puts("A venda nao chegou ao equipamento, enviando outra vez");
    return send_sale(new_session(), code, xml, reply);
}

static int run(const char* code, const char* xml) {
    struct reply reply;
    if (take(ConsultarSAT(new_session()), &reply) != REPLIED) return 2;
    printf("ConsultarSAT: %s %s\n", field(&reply, 1), field(&reply, 2));
    reply_free(&reply);

    if (sell(code, xml, &reply) != REPLIED) return 2;
    // Replies to sales have an alert between code and message.
    const int alert = strncmp(field(&reply, 1), "06", 2) == 0;
    printf("Venda: %s %s\n", field(&reply, 1), field(&reply, alert ? 3 : 2));
    const int sold = strcmp(field(&reply, 1), "06000") == 0;
    if (sold) {
        printf("Chave: %s\n", field(&reply, 8));
        printf("Total: %s\n", field(&reply, 9));
        printf("Cupom: %ld bytes\n", base64_decode(field(&reply, 6), NULL));
    }
    reply_free(&reply);
    return sold ? 0 : 1;
}

/** A file's content and a NUL behind it; NULL when it cannot be read. The caller frees it. */
static char* read_whole(const char* name) {
    FILE* file = fopen(name, "rb");
    if (file == NULL) return NULL;
    char* text = NULL;
    if (fseek(file, 0, SEEK_END) == 0) {
        const long size = ftell(file);
        rewind(file);
        if (size >= 0) text = calloc((size_t)size + 1, 1);
        if (text != NULL && fread(text, 1, (size_t)size, file) != (size_t)size) {
            free(text);
            text = NULL;
        }
    }
    fclose(file);
    return text;
}

int main(int argc, char** argv) {
    char* xml = argc > 1 ? read_whole(argv[1]) : NULL;
    if (xml == NULL) {
        fprintf(stderr, "venda VENDA.xml [CODIGO]\n");
        return 3;
    }
    // Seconds alone would give two sales of one second the same session.
    srand(fine_time());
    const int status = run(argc > 2 ? argv[2] : "12345678", xml);
    free(xml);
    return status;
}
