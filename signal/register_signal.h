#pragma once
// The signal layer at start-up: sound file commands, the WAVE kind, audio devices.
void RegisterSignalLayer();

// Parts of it, each in its own file.
void RegisterSoundFileCommands();
