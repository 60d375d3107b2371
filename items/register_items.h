#pragma once
// The item kinds of this layer (values, tables, files) and their commands.
void RegisterItemLayer();
