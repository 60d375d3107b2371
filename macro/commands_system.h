#pragma once
// SYSTEM and its kin, ENV, PWD, DRIVE, SYSINFO, TIME, TSET, TGET, UNIQUE, NAME.
void RegisterSystemCommands();
