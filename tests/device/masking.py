"""Logs without what differs from run to run: times, lines of the source, handles, the port's number."""
import re

MASKS = [
    # The front of a diagnostic line: time, level, line of the source.
    (rb"(?m)^\[\d\d:\d\d:\d\d\.\d{3}\]([A-Z]{3}|Unk) \[\d{4}\]", rb"[TIME]\1 [LINE]"),
    # The front of a protocol line.
    (rb"(?m)^\d{14} ", rb"TIME "),
    (rb"\[[0-9A-F]{8,16}h\]", rb"[HANDLE]"),
    (rb"\d{8}_SAT_", rb"DATE_SAT_"),
    (rb"COM\d+", rb"COMn"),
    # COM9 is a character or three shorter than COM1007.
    (rb"Port\[\d{5}:", rb"Port[LENGTH:"),
    (rb"iPortNum\[\d+\]", rb"iPortNum[n]"),
    (rb"lPort\[\d+\]", rb"lPort[n]"),
    (rb"liDifTime\[\d+\]", rb"liDifTime[TIME]"),
    # Left over from whatever failed last.
    (rb"GetLastError\(\)\[\d+\]", rb"GetLastError()[n]"),
]

# What only Linux logs: the serial ports that the host has of its own, and the log file's name when it is read as wide
# text, which gives something else where wide characters have four bytes.
LINUX_ONLY = [
    rb"(?m)^[^\n]*\[(GetSerialPortInfo|vListComPorts)\](Win:)? (nDevice|SetupDi|SHGetFolderPath|SAT Port)[^\n]*\n",
    rb"(?m)^[^\n]*\[WideCharToByte\]Win: response[^\n]*\n",
]


def masked(text, target):
    """`text` with one kind of line end and with masks in place of what differs."""
    text = text.replace(target.newline, b"\n")
    for pattern in LINUX_ONLY if target.name == "linux" else []:
        text = re.sub(pattern, b"", text)
    for pattern, mask in MASKS:
        text = re.sub(pattern, mask, text)
    return text
