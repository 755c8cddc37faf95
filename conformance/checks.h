// Checks of what a panel's runtime expects of any driver, on a plug-in file, through the loader
// alone.
#ifndef CONFORMANCE_CHECKS_H
#define CONFORMANCE_CHECKS_H

#include "conformance/subject.h"

class Report;

/// Loads the plug-in, runs all checks on it and reports each.
void runChecks(const QString& file, const std::vector<Request>& requests, Report& report);

#endif
