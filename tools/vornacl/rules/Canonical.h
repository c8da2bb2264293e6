// The lines by which two readers of the same rules can be compared.
#pragma once

#include <string>

#include "tools/vornacl/rules/Loader.h"

namespace Tools {

/// Appends a line for each rule of a file. Exact rules that stand under one number are one line again; a rule that the
/// lines have no place for is refused. `lineDone` is called behind each line, and may take the text away.
///
/// Of a ClassBench file: "INDEX SRC/LEN DST/LEN SLO-SHI DLO-DHI 0xPP/0xMM"; of all others:
/// "INDEX LIST NUMBER ACTION PROTO SRC DST SPORTS DPORTS [ATTRIBUTE...]".
/// - LIST is "v6:NAME" for IPv6, "mac:NAME" for MAC lists; PROTO a number or "any".
/// - SRC and DST are ADDR/LEN, or ADDR&CARE, whose ones are the bits that count; ports are LO-HI[,LO-HI...].
/// - The attributes: established, icmp=TYPE[/CODE], dscp=N, fragments, log, tcpflags=NAME[+NAME].
/// - A MAC rule has "any", 0xVVVV or 0xVVVV/0xCARE for PROTO, xx:xx:xx:xx:xx:xx/CARE for addresses, "-" for ports.
void appendCanonicalLines(std::string& text, LoadedFile const& file, Refusals& refusals,
                          std::function<void()> const& lineDone);

}  // namespace Tools
