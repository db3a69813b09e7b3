// The export macro. Every name that carries PKIDER_API is part of the library's ABI; everything
// else is hidden.

#ifndef PKIDER_API_H
#define PKIDER_API_H

#define PKIDER_API __attribute__((visibility("default")))

#endif
