#pragma once
// GOSUB, GOSUBX, MACRO, MACROX, SHELL and SET as command rows.
void RegisterCallCommands();
