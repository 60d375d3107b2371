#pragma once
// Loading code at run time: the source loader behind CShellEnv::LoadMacros,
// and the commands LOAD and UNLOAD.
void RegisterSourceLoading();
