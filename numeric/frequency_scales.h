// Perceptual frequency scales shared by expressions and atoms.
#pragma once

// The Bark scale: 13 atan(0.00076 f) + 3.5 atan((f / 7500)^2); 0 for f <= 0.
double HzToBark(double hz);
// Its inverse by bisection over 0 .. 25000 Hz, to 1e-5 Bark; 0 for z <= 0.
double BarkToHz(double bark);
