#pragma once
// NEW and DELETE: the frame every item kind shares (names, temporary and
// protected items, barriers, further shares of an item of another shell).
void RegisterItemCommands();
