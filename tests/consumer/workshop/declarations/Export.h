#pragma once

/// Visible to those who link the services, also where they are compiled with hidden visibility.
#define WORKSHOP_API __attribute__((visibility("default")))
