// Claims the data root that is its argument, says how that went, and holds it until its input ends.

#include "base/Output.h"
#include "entry/SingleInstance.h"

#include <QString>

#include <cstdio>

int main(int argc, char* argv[]) {
    using namespace Qt::StringLiterals;
    if (argc != 2) {
        return 2;
    }
    const std::filesystem::path root = argv[1];
    const auto other = entry::SingleInstance::claim(root);
    base::printLine(other ? QString(u"other "_s + QString::number(other->pid)) : u"mine"_s);
    while (std::getchar() != EOF) {
    }
    entry::SingleInstance::release(root);
    return 0;
}
