// The action menu's play commands on the desktop: the default action, or one chosen from the
// Actions folder, played on the active document.
#pragma once

namespace brv {

class Application;

// "アクション再生" (bChoose false) plays the default action file; "保存してあるアクションを
// 再生" (bChoose true) asks for a file first. The run ends in one full refresh and one undo
// point. Does nothing without an active document or when the file is missing.
void PlayActionCommand(Application& app, bool bChoose);

}  // namespace brv
