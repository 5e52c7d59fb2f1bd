#include "side.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "system.h"

/** A sale of so many bytes of text as a till writes it. */
static std::string SaleOfSize(size_t size) {
    static const char kItem[] =
        "<det nItem=\"1\"><prod><cProd>0001</cProd><xProd>Cafe torrado e moido 500g</xProd><CFOP>5102</CFOP>"
        "<uCom>UN</uCom><qCom>1.0000</qCom><vUnCom>18.90</vUnCom><indRegra>A</indRegra></prod></det>";
    std::string sale = "<CFe><infCFe versaoDadosEnt=\"0.08\">";
    while (sale.size() < size)
        sale += kItem;
    sale.resize(size);
    return sale;
}

/** Whether a text is a device's reply: the session's number comes first, where an error has words. */
static bool IsReply(const char* text) {
    return strncmp(text, "123456|", 7) == 0;
}

static bool Run(const char* name, size_t size, int count) {
    const bool is_sale = strcmp(name, "EnviarDadosVenda") == 0;
    const std::string sale = is_sale ? SaleOfSize(size) : "";
    const char* reply = "nothing was asked";
    const int64_t processor = SystemProcessorNs();
    const int64_t start = SystemNowNs();
    for (int i = 0; i < count; ++i) {
        reply = SideExchange(is_sale ? sale.c_str() : nullptr);
    }
    const int64_t elapsed = SystemNowNs() - start;
    const int64_t used = SystemProcessorNs() - processor;
    if (!IsReply(reply)) {
        fprintf(stderr, "= failed %.200s\n", reply);
        return false;
    }
    fprintf(stderr, "= %lld %lld %zu\n", static_cast<long long>(elapsed), static_cast<long long>(used),
            strlen(reply));
    return true;
}

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s PLACE\n", argv[0]);
        return 2;
    }
    const int64_t start = SystemNowNs();
    if (!SidePrepare(argv[1])) {
        fprintf(stderr, "= failed to prepare %s\n", argv[1]);
        return 1;
    }
    fprintf(stderr, "= ready %lld\n", static_cast<long long>(SystemNowNs() - start));
    char line[128];
    while (fgets(line, sizeof line, stdin) != nullptr) {
        char name[32] = "";
        size_t size = 0;
        int count = 0;
        if (sscanf(line, "%31s %zu %d", name, &size, &count) != 3 || !Run(name, size, count)) return 1;
    }
    return 0;
}
