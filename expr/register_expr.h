#pragma once
// The expression layer at start-up: the number-object kind and the commands
// EVAL, EVALCHECK, INT, NUM, INTCHECK, NUMCHECK and FORMAT.
void RegisterExpressionLayer();
