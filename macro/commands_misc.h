#pragma once
// LIST, TRANSLATE and KVOCONSTANTS.
void RegisterMiscCommands();
