// The error texts that drivers leave for the runtime, and that a bench recognises by how they
// begin. A driver adds detail after them, never before.
#ifndef DRIVERS_ERRORTEXTS_H
#define DRIVERS_ERRORTEXTS_H

namespace errortext
{

const char PacketLoss[] = "packet loss";           ///< the port returned another count than asked
const char InvalidResponse[] = "invalid response"; ///< complete, but of the wrong form

// Each of these is followed directly by what it is about: the controller's reply, the address as
// the request gave it, or symbol and number of a bit.
const char ErrorReply[] = "Response During an Error:";
const char InvalidAddress[] = "invalid device address: ";
const char CantReadWord[] = "can't read word from ";
const char CantWriteWord[] = "can't write word to ";
const char CantWriteBit[] = "can't write bit to ";

} // namespace errortext

#endif
