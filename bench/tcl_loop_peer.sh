#!/usr/bin/env bash
# The peer of macro_bench: the same loop in tclsh (Debian's tcl package).
# Prints rounds per second and statements per second (three per round: test, body, incr).
set -euo pipefail
n=${1:-2000000}
tclsh <<TCL
proc run {n} {
    for {set i 0} {\$i < \$n} {incr i} { set x "abc\$i" }
}
set t [lindex [time {run $n}] 0]
set rounds [expr {$n / (\$t / 1e6)}]
puts [format "tclsh: %d rounds in %.1f ms: %.0f rounds/s, %.0f statements/s" $n [expr {\$t/1000.0}] \$rounds [expr {\$rounds*3}]]
TCL
