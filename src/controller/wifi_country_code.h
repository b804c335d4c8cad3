// The country code of the own radios.
#pragma once

// kOk, or kFailure when the platform does not tell.
int checkWIFICountryCode();
