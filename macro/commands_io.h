#pragma once
// INTERPRET, WRITELOG, EMSG.
void RegisterIoCommands();
