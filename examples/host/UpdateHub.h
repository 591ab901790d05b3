#pragma once

#include <api/zelhub.h>

#include <string>

/// Updates the hub at a location from an image file. @return true when the hub is back and runs
/// the image's version
bool UpdateHub(const WString& strLocation, const std::string& sImage);
