#pragma once
// The macro layer at start-up: its runtime and its commands.
void RegisterMacroLayer();
