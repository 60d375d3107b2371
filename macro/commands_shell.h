#pragma once
// MSG, ARG and the number conversions.
void RegisterShellCommands();
