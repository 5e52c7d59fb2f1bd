/*
 * Line settings: the mode text, and its application to a port.
 */
#include <cerrno>
#include <cstring>

#include "last_error.h"
#include "port.h"

namespace {

struct BaudRate {
    uint32_t rate;
    speed_t code;
};

}  // namespace

static constexpr BaudRate kBaudRates[] = {
    {50, B50},           {75, B75},           {110, B110},         {134, B134},         {150, B150},
    {200, B200},         {300, B300},         {600, B600},         {1200, B1200},       {1800, B1800},
    {2400, B2400},       {4800, B4800},       {9600, B9600},       {19200, B19200},     {38400, B38400},
    {57600, B57600},     {115200, B115200},   {230400, B230400},   {460800, B460800},   {500000, B500000},
    {576000, B576000},   {921600, B921600},   {1000000, B1000000}, {1152000, B1152000}, {1500000, B1500000},
    {2000000, B2000000}, {2500000, B2500000}, {3000000, B3000000}, {3500000, B3500000}, {4000000, B4000000}};

static const BaudRate* FindBaudRate(uint32_t rate) {
    for (const BaudRate& entry : kBaudRates) {
        if (entry.rate == rate) return &entry;
    }
    return nullptr;
}

static void SkipBlanks(const char** cursor) {
    while (**cursor == ' ') {
        ++*cursor;
    }
}

/** Reads an unsigned number of at most nine digits and the blanks around it. */
static bool TakeNumber(const char** cursor, uint32_t* number) {
    SkipBlanks(cursor);
    const size_t length = strspn(*cursor, "0123456789");
    if (length == 0 || length > 9) return false;
    uint32_t value = 0;
    for (const char* end = *cursor + length; *cursor < end; ++*cursor) {
        value = value * 10 + static_cast<uint32_t>(**cursor - '0');
    }
    *number = value;
    SkipBlanks(cursor);
    return true;
}

/** Reads the letter of a parity and the blanks around it. */
static bool TakeParity(const char** cursor, uint8_t* parity) {
    static const char kLetters[] = "noeNOE";  // 0 none, 1 odd, 2 even, and the capitals
    SkipBlanks(cursor);
    const char* letter = **cursor != '\0' ? strchr(kLetters, **cursor) : nullptr;
    if (letter == nullptr) return false;
    *parity = static_cast<uint8_t>((letter - kLetters) % 3);
    ++*cursor;
    SkipBlanks(cursor);
    return true;
}

static bool TakeComma(const char** cursor) {
    if (**cursor != ',') return false;
    ++*cursor;
    return true;
}

bool plat_port_parse_mode(const char* mode, plat_line_settings* settings) {
    *settings = {};
    plat_line_settings parsed = {};
    uint32_t data_bits = {};
    uint32_t stop_bits = {};
    const char* cursor = mode;
    const bool understood = TakeNumber(&cursor, &parsed.baud_rate) && TakeComma(&cursor) &&
                            TakeParity(&cursor, &parsed.parity) && TakeComma(&cursor) &&
                            TakeNumber(&cursor, &data_bits) && TakeComma(&cursor) &&
                            TakeNumber(&cursor, &stop_bits) && *cursor == '\0';
    if (!understood || FindBaudRate(parsed.baud_rate) == nullptr || data_bits < 5 || data_bits > 8 ||
        stop_bits < 1 || stop_bits > 2) {
        SetLastErrno(EINVAL);
        return false;
    }
    parsed.data_bits = static_cast<uint8_t>(data_bits);
    parsed.stop_bits = stop_bits == 2 ? 2 : 0;
    *settings = parsed;
    return true;
}

static void MakeRaw(termios* line) {
    // This also asks for a minimum of one byte, with which a read of an empty line says "try again"; with
    // none it could not be told from a line that was hung up.
    cfmakeraw(line);
    line->c_iflag &= ~static_cast<tcflag_t>(IXOFF | IXANY | INPCK);
    line->c_cflag |= CLOCAL | CREAD;
    line->c_cflag &= ~static_cast<tcflag_t>(CRTSCTS);
}

/** Whether two lines agree in all that is set here. A port keeps its settings, so behind the first exchange
 * there is nothing to set. */
static bool AreAlike(const termios& one, const termios& other) {
    return one.c_iflag == other.c_iflag && one.c_oflag == other.c_oflag && one.c_lflag == other.c_lflag &&
           one.c_cflag == other.c_cflag && one.c_cc[VMIN] == other.c_cc[VMIN] &&
           one.c_cc[VTIME] == other.c_cc[VTIME] && cfgetospeed(&one) == cfgetospeed(&other) &&
           cfgetispeed(&one) == cfgetispeed(&other);
}

bool SetRawLine(int descriptor, const termios& settings) {
    termios line = settings;
    MakeRaw(&line);
    return AreAlike(line, settings) || Done(tcsetattr(descriptor, TCSANOW, &line) == 0);
}

tcflag_t FrameFlags(const plat_line_settings& settings) {
    static constexpr tcflag_t kSizes[] = {CS5, CS6, CS7, CS8};
    tcflag_t flags = kSizes[(settings.data_bits - 5) & 3];
    if (settings.parity != 0) flags |= PARENB;
    if (settings.parity == 1) flags |= PARODD;
    if (settings.stop_bits == 2) flags |= CSTOPB;
    return flags;
}

bool plat_port_apply(plat_handle port, const plat_line_settings* settings) {
    const std::shared_ptr<Port> found = FindPort(port);
    if (found == nullptr) return false;
    const BaudRate* baud_rate = FindBaudRate(settings->baud_rate);
    termios now = {};
    if (baud_rate == nullptr || tcgetattr(found->descriptor, &now) != 0) {
        SetLastErrno(baud_rate == nullptr ? EINVAL : errno);
        return false;
    }

    constexpr tcflag_t kFrame = CSIZE | PARENB | PARODD | CSTOPB;
    const tcflag_t wanted = FrameFlags(*settings);
    termios line = now;
    MakeRaw(&line);
    line.c_cflag = (line.c_cflag & ~kFrame) | wanted;
    cfsetspeed(&line, baud_rate->code);
    if (AreAlike(now, line)) return true;

    // The call succeeds as soon as any of the settings could be made, so the line is asked what it took.
    termios taken = {};
    if (tcsetattr(found->descriptor, TCSANOW, &line) != 0 || tcgetattr(found->descriptor, &taken) != 0) {
        SetLastErrno(errno);
        return false;
    }
    if ((taken.c_cflag & kFrame) != wanted || cfgetospeed(&taken) != baud_rate->code) {
        SetLastErrno(EINVAL);
        return false;
    }
    return true;
}
