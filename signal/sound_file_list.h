// The sound files attached in the environment, and the current one of a
// shell (its CSF and CSFH variables).
#pragma once

#include "base/text.h"

class CShell;
class CShellEnv;
class CSoundFile;

// The key under which a path is attached: the absolute, normalised path.
Text SoundFileKey(const Text& path);
// The attached file of that path (or key), or null. Under the environment lock.
CSoundFile* FindSoundFile(CShellEnv& env, const Text& path);
// The shell's current sound file, or null (code 108 for its callers).
CSoundFile* CurrentSoundFile(CShell& shell);
// Makes `file` the shell's current one, or clears CSF and CSFH with null.
void SelectSoundFile(CShell& shell, CSoundFile* file);
// CSFH again from the current file as it stands now (frames written since it was set).
void RefreshSoundFileLine(CShell& shell);
