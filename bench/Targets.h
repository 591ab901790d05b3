#pragma once

class CRatioReporter;

/// Prints what the run says about each target. @return true when every target is met
bool PrintTargets(const CRatioReporter& reporter);
