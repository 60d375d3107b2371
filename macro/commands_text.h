#pragma once
// The word and text commands: LENGTH, SUBSTR, WORD, TOKEN, KEYWORD, QUOTE,
// TRIM, STRCHR, SPELL, READVAR, READSTR and their kin.
void RegisterTextCommands();
