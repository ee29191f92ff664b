// Texts the core shows to the user, exactly as they stand.
#pragma once

#include <string_view>

namespace brv::msg {

inline constexpr std::string_view kFileNotFound = "ファイルが見つかりません。";
inline constexpr std::string_view kNumberOutOfRange = "数値が範囲外です。";
inline constexpr std::string_view kNewFileName = "新規ファイル";
inline constexpr std::string_view kChangedSuffix = "は操作されています。";
inline constexpr std::string_view kAskSave = "保存しますか？";
inline constexpr std::string_view kSavedSuffix = "を保存しました";
inline constexpr std::string_view kTempActionWriteFailed =
    "一時アクションファイルの書きこみに失敗しました";
inline constexpr std::string_view kLayerCombineFailed = "レイヤーの合成に失敗しました。";

}  // namespace brv::msg
