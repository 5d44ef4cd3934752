#include "vel/platform/nex_Exception.h"

const cls_Uid& nex_Exception::Uid() const {
    static const cls_Uid uid = {0x6e657830, 0x0001, 0x0001, {0, 0, 0, 0, 0, 0, 0, 1}};
    return uid;
}

const cls_Uid& nex_TextException::Uid() const {
    static const cls_Uid uid = {0x6e657830, 0x0001, 0x0002, {0, 0, 0, 0, 0, 0, 0, 2}};
    return uid;
}

const cls_Uid& nex_AssertException::Uid() const {
    static const cls_Uid uid = {0x6e657830, 0x0001, 0x0003, {0, 0, 0, 0, 0, 0, 0, 3}};
    return uid;
}
